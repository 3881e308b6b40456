#include "support/tablebasePlacements.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <vector>

#include "board/attackTables.h"

namespace tarvonel::endings
{

namespace
{

// The placements of the leading group, listed in the order of their numbers.

int aboveDiagonal(int square) { return rankOf(square) - fileOf(square); }

const std::vector<int> cornerTriangle = {b1, c1, d1, c2, d2, d3};
const std::vector<int> cornerDiagonal = {a1, b2, c3, d4};

std::vector<std::vector<int>> kingPairs()
{
    std::vector<std::vector<int>> pairs, bothOnDiagonal;
    for (const int a : {b1, c1, d1, c2, d2, d3, a1, b2, c3, d4})
        for (int b = a1; b <= h8; ++b)
        {
            const bool onDiagonal = aboveDiagonal(a) == 0;
            if (distance[a][b] <= 1 || (onDiagonal && aboveDiagonal(b) > 0))
                continue;
            (onDiagonal && aboveDiagonal(b) == 0 ? bothOnDiagonal : pairs).push_back({a, b});
        }
    pairs.insert(pairs.end(), bothOnDiagonal.begin(), bothOnDiagonal.end());
    return pairs;
}

std::vector<std::vector<int>> triples()
{
    std::vector<int> all, lower, diagonal;
    for (int square = a1; square <= h8; ++square)
    {
        all.push_back(square);
        if (aboveDiagonal(square) < 0)
            lower.push_back(square);
        if (aboveDiagonal(square) == 0)
            diagonal.push_back(square);
    }
    std::vector<std::vector<int>> list;
    const auto add = [&](const std::vector<int> &first, const std::vector<int> &second, const std::vector<int> &third)
    {
        for (const int a : first)
            for (const int b : second)
                for (const int c : third)
                    if (a != b && b != c && a != c)
                        list.push_back({a, b, c});
    };
    add(cornerTriangle, all, all);
    add(cornerDiagonal, lower, all);
    add(cornerDiagonal, diagonal, lower);
    add(cornerDiagonal, diagonal, diagonal);
    return list;
}

/// All choices of `size` of the squares, in the order of the combinatorial number system.
std::vector<std::vector<int>> combinations(const std::vector<int> &squares, int size)
{
    std::vector<std::vector<int>> list;
    if (size == 0)
        return {{}};
    for (std::size_t highest = 0; highest < squares.size(); ++highest)
        for (std::vector<int> lower :
             combinations({squares.begin(), squares.begin() + static_cast<std::ptrdiff_t>(highest)}, size - 1))
        {
            lower.push_back(squares[highest]);
            list.push_back(lower);
        }
    return list;
}

std::vector<std::vector<int>> leadingPawns(int count, int file)
{
    // From e7, the last to lead, to a2.
    std::vector<int> order;
    for (int edge = 3; edge >= 0; --edge)
        for (int rank = rank7; rank >= rank2; --rank)
        {
            order.push_back(squareAt(7 - edge, rank));
            order.push_back(squareAt(edge, rank));
        }
    std::vector<std::vector<int>> list;
    for (int rank = rank2; rank <= rank7; ++rank)
    {
        const auto lead = std::find(order.begin(), order.end(), squareAt(file, rank));
        for (const std::vector<int> &others : combinations({order.begin(), lead}, count - 1))
        {
            list.push_back({*lead});
            list.back().insert(list.back().end(), others.begin(), others.end());
        }
    }
    return list;
}

struct grouping
{
    std::string places;
    std::vector<int> sizes;
    std::vector<std::uint64_t> counts, factors;
    std::vector<std::vector<int>> lead;
    bool secondPawns = false;
    std::uint64_t total = 1;
};

std::uint64_t choose(int n, int k)
{
    std::uint64_t result = 1;
    for (int i = 0; i < k; ++i)
        result = result * static_cast<std::uint64_t>(n - i) / static_cast<std::uint64_t>(i + 1);
    return result;
}

grouping groupsOf(const std::string &name, const placing &places, int file)
{
    grouping groups;
    groups.places = placesOf(name, places);
    const std::string &row = groups.places;
    const auto runFrom = [&](std::size_t at)
    { return static_cast<int>(std::min(row.find_first_not_of(row[at], at), row.size()) - at); };
    const bool pawns = std::tolower(row[0]) == 'p';
    const bool kings =
        std::tolower(row[0]) == 'k' && std::tolower(row[1]) == 'k' && (row.size() == 4 && row[2] == row[3]);
    groups.lead = pawns ? leadingPawns(runFrom(0), file) : kings ? endings::kingPairs() : triples();
    groups.sizes.push_back(pawns ? runFrom(0) : kings ? 2 : 3);
    groups.counts.push_back(groups.lead.size());
    auto at = static_cast<std::size_t>(groups.sizes[0]);
    groups.secondPawns = pawns && at < row.size() && std::tolower(row[at]) == 'p';
    for (int freeSquares = squareCount - groups.sizes[0]; at < row.size();)
    {
        const int size = runFrom(at);
        const bool ofPawns = groups.secondPawns && groups.sizes.size() == 1;
        groups.counts.push_back(choose(ofPawns ? 48 - groups.sizes[0] : freeSquares, size));
        groups.sizes.push_back(size);
        freeSquares -= size;
        at += static_cast<std::size_t>(size);
    }
    // Each group's place among the factors.
    std::vector<int> byPlace(groups.sizes.size(), -1);
    byPlace[static_cast<std::size_t>(places.order)] = 0;
    if (groups.secondPawns)
        byPlace[static_cast<std::size_t>(places.secondOrder)] = 1;
    int next = groups.secondPawns ? 2 : 1;
    groups.factors.resize(groups.sizes.size());
    for (int &group : byPlace)
    {
        if (group < 0)
            group = next++;
        groups.factors[static_cast<std::size_t>(group)] = groups.total;
        groups.total *= groups.counts[static_cast<std::size_t>(group)];
    }
    return groups;
}

} // namespace

std::string placesOf(const std::string &name, const placing &places)
{
    if (!places.men.empty())
        return places.men;
    const ending men = menOfName(name);
    int pawns[2] = {};
    int singles = 0;
    std::map<int, int> counts;
    for (int i = 0; i < men.count; ++i)
    {
        ++counts[2 * men.types[i] + men.sides[i]];
        pawns[men.sides[i]] += men.types[i] == pawn;
    }
    for (const auto &[man, count] : counts)
        singles += count == 1;
    const bool blackLeads = pawns[black] > 0 && (pawns[white] == 0 || pawns[black] < pawns[white]);
    const bool hasPawns = pawns[white] + pawns[black] > 0, singlesFirst = !hasPawns && singles > 2;
    std::string row;
    const auto add = [&](int type, colour side)
    {
        const char letter = menLetters[static_cast<std::size_t>(type)];
        row.append(static_cast<std::size_t>(counts[2 * type + side]),
                   side == white ? letter : static_cast<char>(std::tolower(letter)));
    };
    add(pawn, blackLeads ? black : white);
    add(pawn, blackLeads ? white : black);
    for (const bool single : {true, false})
        for (int type = king; type > pawn; --type)
            for (const colour side : {white, black})
                if (singlesFirst ? (counts[2 * type + side] == 1) == single : single)
                    add(type, side);
    return row;
}

void forAllIndices(const std::string &name, const placing &places, int side, int file,
                   const std::function<void(const ending &)> &use)
{
    const grouping groups = groupsOf(name, places, file);
    ending position;
    position.turn = side;
    position.count = static_cast<int>(groups.places.size());
    for (int i = 0; i < position.count; ++i)
    {
        const char man = groups.places[static_cast<std::size_t>(i)];
        position.sides[i] = std::islower(man) ? black : white;
        position.types[i] = static_cast<int>(menLetters.find(static_cast<char>(std::toupper(man))));
    }
    for (std::uint64_t index = 0; index < groups.total; ++index)
    {
        bitboard placed = 0;
        int man = 0;
        for (std::size_t group = 0; group < groups.sizes.size(); ++group)
        {
            auto number = static_cast<std::size_t>(index / groups.factors[group] % groups.counts[group]);
            if (group == 0)
                for (const int square : groups.lead[number])
                    position.squares[man++] = square;
            else
            {
                // Unrank among the squares still free: the largest member first.
                int freeSquares[squareCount], count = 0;
                const bool pawns = groups.secondPawns && group == 1;
                for (int square = pawns ? a2 : a1; square <= (pawns ? h7 : h8); ++square)
                    if (!(placed & bit(square)))
                        freeSquares[count++] = square;
                for (int size = groups.sizes[group]; size > 0; --size)
                {
                    int member = size - 1;
                    while (choose(member + 1, size) <= number)
                        ++member;
                    number -= choose(member, size);
                    position.squares[man++] = freeSquares[member];
                }
            }
            for (int i = 0; i < man; ++i)
                placed |= bit(position.squares[i]);
        }
        use(position);
    }
}

} // namespace tarvonel::endings

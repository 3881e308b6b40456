#include "support/tablebaseSolver.h"

#include <algorithm>
#include <stdexcept>

namespace tarvonel::endings
{

namespace
{

constexpr std::int8_t impossible = -128;
constexpr std::uint8_t neverLost = 255;
constexpr int maxLevel = 127;

std::uint32_t materialKey(const ending &position, bool swapped)
{
    std::uint32_t key = 0;
    for (int i = 0; i < position.count; ++i)
        key += 1u << (3 * position.types[i] + (((position.sides[i] == black) != swapped) ? 16 : 0));
    return key;
}

/// Brings the first man to files a to d, without pawns to ranks 1 to 4 too.
int canonicalChange(int firstSquare, bool pawns)
{
    return (fileOf(firstSquare) > fileD ? 7 : 0) | (!pawns && rankOf(firstSquare) > rank4 ? 56 : 0);
}

std::size_t indexOf(const ending &position, const ending &men, bool pawns, bool swapped)
{
    int squares[maxMen];
    unsigned used = 0;
    for (int slot = 0; slot < men.count; ++slot)
        for (int i = 0; i < position.count; ++i)
            if (!(used >> i & 1) && position.types[i] == men.types[slot] &&
                (position.sides[i] == men.sides[slot]) != swapped)
            {
                used |= 1u << i;
                squares[slot] = position.squares[i] ^ (swapped ? flipRanks : 0);
                break;
            }
    std::size_t index = (position.turn == white) != swapped ? 0 : 1;
    const int change = canonicalChange(squares[0], pawns);
    for (int slot = 0; slot < men.count; ++slot)
        index = index * squareCount + static_cast<std::size_t>(squares[slot] ^ change);
    return index;
}

/// The men with pawns first, then the kings: the order of the index.
ending indexOrder(const ending &men)
{
    ending ordered;
    for (const int type : {pawn, king, queen, rook, bishop, knight})
        for (int i = 0; i < men.count; ++i)
            if (men.types[i] == type)
            {
                ordered.types[ordered.count] = type;
                ordered.sides[ordered.count++] = men.sides[i];
            }
    return ordered;
}

int pawnCount(const ending &men) { return static_cast<int>(std::count(men.types, men.types + men.count, pawn)); }

int advance(const ending &position)
{
    int total = 0;
    for (int i = 0; i < position.count && position.types[i] == pawn; ++i)
        total += relativeRank(position.sides[i], position.squares[i]);
    return total;
}

/// Runs through all squares of the men from `first` on.
template <typename F> void forAllSquares(ending &position, int first, F &&use)
{
    if (first == position.count)
    {
        use(position);
        return;
    }
    for (int square = 0; square < squareCount; ++square)
    {
        position.squares[first] = square;
        if (first > 0 || canonicalChange(square, position.types[0] == pawn) == 0)
            forAllSquares(position, first + 1, use);
    }
}

std::string nameOf(const ending &position)
{
    static const std::string letters = "PNBRQK";
    std::string names[2];
    for (int type = king; type >= pawn; --type)
        for (int i = 0; i < position.count; ++i)
            if (position.types[i] == type)
                names[position.sides[i]] += letters[static_cast<std::size_t>(type)];
    return names[0] + "v" + names[1];
}

} // namespace

const endingSolver::solved *endingSolver::find(const ending &position, bool &swapped) const
{
    for (const bool swap : {false, true})
        if (const auto found = tables.find(materialKey(position, swap)); found != tables.end())
        {
            swapped = swap;
            return &found->second;
        }
    return nullptr;
}

void endingSolver::assume(const std::string &name, int firstSideResult)
{
    solved table;
    table.men = menOfName(name);
    table.assumed = true;
    table.result = firstSideResult;
    tables[materialKey(table.men, false)] = table;
}

int endingSolver::valueWithoutEp(const ending &position) const
{
    if (position.count == 2)
        return 0;
    bool swapped = false;
    const solved *table = find(position, swapped);
    if (table == nullptr)
        throw std::logic_error("not solved: " + nameOf(position));
    if (!table->assumed)
        return table->values[indexOf(position, table->men, table->pawns, swapped)];
    int best = (position.turn == white) != swapped ? table->result : -table->result;
    for (const endingMove &move : legalMoves(position))
        if (move.capture)
            best = std::max(best, -signOf(value(move.next)));
    return best;
}

int endingSolver::value(const ending &position) const
{
    if (position.ep == noEp)
        return valueWithoutEp(position);
    bool ordinary = false;
    int bestEnPassant = -2;
    for (const endingMove &move : legalMoves(position))
    {
        if (move.enPassant)
            bestEnPassant = std::max(bestEnPassant, -signOf(value(move.next)));
        else
            ordinary = true;
    }
    if (bestEnPassant == -2)
        return valueWithoutEp(position);
    const int others = ordinary ? valueWithoutEp(position) : -2;
    if (!ordinary || bestEnPassant > signOf(others))
        return bestEnPassant;
    return bestEnPassant == 1 ? 1 : others;
}

void endingSolver::solve(const std::string &name, const pawnFilter &wanted)
{
    const ending men = menOfName(name);
    bool swapped = false;
    if (men.count <= 2 || find(men, swapped) != nullptr)
        return;
    solved table;
    table.men = indexOrder(men);
    for (int i = 0; i < men.count; ++i)
    {
        const ending &from = table.men;
        if (from.types[i] == king)
            continue;
        ending fewer = from;
        --fewer.count;
        for (int j = i; j < fewer.count; ++j)
        {
            fewer.types[j] = from.types[j + 1];
            fewer.sides[j] = from.sides[j + 1];
        }
        solve(nameOf(fewer));
        if (from.types[i] != pawn)
            continue;
        for (const int promotion : {queen, rook, bishop, knight})
        {
            ending promoted = from;
            promoted.types[i] = promotion;
            solve(nameOf(promoted));
        }
    }

    const int pawns = pawnCount(table.men);
    table.pawns = pawns > 0;
    table.values.assign(std::size_t{2} << (6 * table.men.count), impossible);
    std::vector<ending> slices;
    if (pawns == 0)
        slices.push_back(table.men);
    else
    {
        ending placement = table.men;
        placement.count = pawns;
        forAllSquares(placement, 0,
                      [&](const ending &placed)
                      {
                          for (int i = 0; i < pawns; ++i)
                              if (rankOf(placed.squares[i]) == rank1 || rankOf(placed.squares[i]) == rank8)
                                  return;
                          if (popCount(occupied(placed)) == pawns && (!wanted || wanted(placed)))
                          {
                              slices.push_back(table.men);
                              std::copy(placed.squares, placed.squares + pawns, slices.back().squares);
                          }
                      });
        // A pawn move leads to a slice solved before.
        std::stable_sort(slices.begin(), slices.end(),
                         [](const ending &a, const ending &b) { return advance(a) > advance(b); });
    }
    solved &entry = tables[materialKey(men, false)] = std::move(table);
    for (const ending &slice : slices)
        solveSlice(entry, slice);
}

void endingSolver::solveSlice(solved &table, const ending &pawns) const
{
    const int firstFree = pawnCount(table.men);
    std::vector<std::vector<ending>> wins(maxLevel + 2), losses(maxLevel + 2);
    std::vector<ending> mates;
    // Moves of each placement that might yet save it, by the index without the pawns.
    std::vector<std::uint8_t> open(std::size_t{2} << (6 * (table.men.count - firstFree)), 0);
    const auto at = [&](const ending &position) { return indexOf(position, table.men, table.pawns, false); };
    const auto openAt = [&](const ending &position) -> std::uint8_t &
    {
        std::size_t index = position.turn == white ? 0 : 1;
        const int change = canonicalChange(position.squares[0], table.pawns);
        for (int i = firstFree; i < position.count; ++i)
            index = index * squareCount + static_cast<std::size_t>(position.squares[i] ^ change);
        return open[index];
    };

    const auto start = [&](const ending &position)
    {
        std::int8_t &value = table.values[at(position)];
        value = impossible;
        if (!isPossible(position))
            return;
        value = 0;
        const std::vector<endingMove> moves = legalMoves(position);
        if (moves.empty())
        {
            if (isInCheck(position, position.turn))
            {
                value = -1;
                mates.push_back(position);
            }
            openAt(position) = neverLost;
            return;
        }
        int quiet = 0;
        bool wins1 = false, saved = false;
        for (const endingMove &move : moves)
        {
            if (!move.capture && !move.pawnMove)
            {
                ++quiet;
                continue;
            }
            const int result = -this->value(move.next);
            wins1 |= result > 0;
            saved |= result == 0;
        }
        openAt(position) = saved ? neverLost : static_cast<std::uint8_t>(quiet);
        if (wins1)
        {
            value = 1;
            wins[1].push_back(position);
        }
        else if (!saved && quiet == 0)
        {
            value = -1;
            losses[1].push_back(position);
        }
    };
    ending position = pawns;
    for (const colour turn : {white, black})
    {
        position.turn = turn;
        forAllSquares(position, firstFree, start);
    }

    // Takes back a move of a piece in all ways that lead to a placement not yet settled.
    const auto forPredecessors = [&](const ending &after, auto &&use)
    {
        ending before = after;
        before.turn = opponent(after.turn);
        const bitboard men = occupied(after);
        for (int i = firstFree; i < after.count; ++i)
        {
            if (after.sides[i] != before.turn)
                continue;
            for (bitboard from = attacks(after.types[i], before.turn, after.squares[i], men) & ~men; from;)
            {
                before.squares[i] = popLowest(from);
                const int change = canonicalChange(before.squares[0], table.pawns);
                const ending canonical = change ? mirrored(before, change) : before;
                if (std::int8_t &value = table.values[at(canonical)]; value == 0)
                    use(canonical, value);
            }
            before.squares[i] = after.squares[i];
        }
    };
    for (const ending &mate : mates)
        forPredecessors(mate,
                        [&](const ending &before, std::int8_t &value)
                        {
                            value = 1;
                            wins[1].push_back(before);
                        });
    for (int level = 1; level < maxLevel; ++level)
    {
        for (const ending &won : wins[level])
            forPredecessors(won,
                            [&](const ending &before, std::int8_t &value)
                            {
                                std::uint8_t &moves = openAt(before);
                                if (moves != neverLost && --moves == 0)
                                {
                                    value = static_cast<std::int8_t>(-(level + 1));
                                    losses[level + 1].push_back(before);
                                }
                            });
        for (const ending &lost : losses[level])
            forPredecessors(lost,
                            [&](const ending &before, std::int8_t &value)
                            {
                                value = static_cast<std::int8_t>(level + 1);
                                wins[level + 1].push_back(before);
                            });
    }
}

} // namespace tarvonel::endings

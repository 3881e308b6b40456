#include "support/tablebaseSolver.h"

#include <algorithm>

namespace tarvonel::endings
{

namespace
{

constexpr std::int8_t mated = -127; ///< stored for it, so that the move before counts as the last

std::uint32_t materialKey(const ending &position)
{
    std::uint32_t key = 0;
    for (int i = 0; i < position.count; ++i)
        key += 1u << (3 * position.types[i] + (position.sides[i] == black ? 16 : 0));
    return key;
}

/// Brings the first man to files a to d, without pawns to ranks 1 to 4 too.
int canonicalChange(int firstSquare, bool pawns)
{
    return (fileOf(firstSquare) > fileD ? 7 : 0) | (!pawns && rankOf(firstSquare) > rank4 ? 56 : 0);
}

std::size_t indexOf(const ending &position, const ending &men)
{
    int squares[maxMen];
    unsigned used = 0;
    for (int slot = 0; slot < men.count; ++slot)
        for (int i = 0; i < position.count; ++i)
            if (!(used >> i & 1) && position.types[i] == men.types[slot] && position.sides[i] == men.sides[slot])
            {
                used |= 1u << i;
                squares[slot] = position.squares[i];
                break;
            }
    const int change = canonicalChange(squares[0], men.types[0] == pawn);
    std::size_t index = position.turn;
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

int advance(const ending &position, int pawns)
{
    int total = 0;
    for (int i = 0; i < pawns; ++i)
        total += relativeRank(position.sides[i], position.squares[i]);
    return total;
}

/// Runs through all squares of the men from `first` to before `last`, without mirror images.
template <typename F> void forAllSquares(ending &position, int first, int last, F &&use)
{
    if (first == last)
        return use();
    for (int square = 0; square < squareCount; ++square)
    {
        position.squares[first] = square;
        if (first > 0 || canonicalChange(square, position.types[0] == pawn) == 0)
            forAllSquares(position, first + 1, last, use);
    }
}

} // namespace

void endingSolver::assume(const std::string &name, int firstSideResult)
{
    const ending men = menOfName(name);
    tables[materialKey(men)] = {men, firstSideResult, {}};
}

int endingSolver::valueWithoutEp(const ending &position) const
{
    if (position.count == 2)
        return 0;
    const bool turned = tables.count(materialKey(position)) == 0;
    const ending given = turned ? swappedColours(position) : position;
    const solved &table = tables.at(materialKey(given));
    if (!table.values.empty())
    {
        const int stored = table.values[indexOf(given, table.men)];
        return stored == mated ? -1 : stored;
    }
    int best = given.turn == white ? table.assumed : -table.assumed;
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
        if (move.enPassant)
            bestEnPassant = std::max(bestEnPassant, -signOf(value(move.next)));
        else
            ordinary = true;
    if (bestEnPassant == -2)
        return valueWithoutEp(position);
    const int others = ordinary ? valueWithoutEp(position) : -2;
    return bestEnPassant > signOf(others) || bestEnPassant == 1 ? bestEnPassant : others;
}

void endingSolver::solve(const std::string &name, pawnFilter wanted)
{
    ending placement = indexOrder(menOfName(name));
    solved &table = tables[materialKey(placement)];
    table.men = placement;
    table.values.assign(std::size_t{2} << (6 * placement.count), 0);
    const auto pawns = static_cast<int>(std::count(placement.types, placement.types + placement.count, pawn));
    std::vector<ending> slices;
    forAllSquares(placement, 0, pawns,
                  [&]
                  {
                      bitboard squares = 0;
                      for (int i = 0; i < pawns; ++i)
                          squares |= bit(placement.squares[i]) & ~(rankBits(rank1) | rankBits(rank8));
                      if (popCount(squares) == pawns && (!wanted || wanted(placement)))
                          slices.push_back(placement);
                  });
    // A pawn move leads to a slice solved before.
    std::stable_sort(slices.begin(), slices.end(),
                     [&](const ending &a, const ending &b) { return advance(a, pawns) > advance(b, pawns); });
    for (ending &slice : slices)
        solveSlice(table, slice, pawns);
}

/// Settles what is won or lost in one move, then in two, and so on, the pawns staying where they are.
void endingSolver::solveSlice(solved &table, ending &position, int pawns) const
{
    struct node
    {
        std::size_t index, firstNext, lastNext; ///< what follows by moves that zero nothing
        bool saved;                             ///< by a zeroing move that draws, or by stalemate
    };
    std::vector<node> nodes;
    std::vector<std::size_t> nexts;
    const auto start = [&]
    {
        if (!isPossible(position))
            return;
        const std::vector<endingMove> moves = legalMoves(position);
        const bool isMated = moves.empty() && isInCheck(position, position.turn);
        node made{indexOf(position, table.men), nexts.size(), 0, moves.empty() && !isMated};
        std::int8_t &value = table.values[made.index];
        value = isMated ? mated : 0;
        for (const endingMove &move : moves)
            if (move.capture || move.pawnMove)
            {
                const int result = -this->value(move.next);
                value = result > 0 ? 1 : value;
                made.saved |= result == 0;
            }
            else
                nexts.push_back(indexOf(move.next, table.men));
        made.lastNext = nexts.size();
        if (value == 0)
            nodes.push_back(made);
    };
    for (const colour turn : {white, black})
    {
        position.turn = turn;
        forAllSquares(position, pawns, position.count, start);
    }
    bool changed = true;
    for (int level = 1; changed || level <= 2; ++level)
    {
        changed = false;
        for (const node &open : nodes)
        {
            bool wins = false, loses = !open.saved;
            for (std::size_t i = open.firstNext; i < open.lastNext; ++i)
            {
                const int next = table.values[nexts[i]];
                wins |= next == mated || (next < 0 && next > -level);
                loses &= next > 0 && next < level;
            }
            if (std::int8_t &value = table.values[open.index]; value == 0 && (wins || loses))
            {
                value = static_cast<std::int8_t>(wins ? level : -level);
                changed = true;
            }
        }
    }
}

} // namespace tarvonel::endings

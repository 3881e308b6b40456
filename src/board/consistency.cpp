#include "board/consistency.h"

#include <algorithm>

#include "board/keys.h"
#include "board/setup.h"

namespace tarvonel
{

bool isBoardConsistent(const pos &position)
{
    bitboard expected[pieceCodeCount] = {};
    for (int square = 0; square < squareCount; ++square)
        if (const pieceCode code = position.board[square]; code != emptySquare)
        {
            expected[code] |= bit(square);
            expected[colourOf(code)] |= bit(square);
        }
    return std::ranges::equal(expected, position.bitboards);
}

bool isConsistent(const pos &position, int ply)
{
    if (!isBoardConsistent(position))
        return false;
    if (position.key != computeKey(position, ply) || position.pawnKey != computePawnKey(position))
        return false;
    const positionSums sums = computeSums(position);
    return sums.phase == position.phase && std::ranges::equal(sums.material, position.material) &&
           std::ranges::equal(sums.squareScore, position.squareScore);
}

} // namespace tarvonel

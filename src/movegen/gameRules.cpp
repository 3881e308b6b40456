#include "movegen/gameRules.h"

#include <algorithm>

#include "board/moveCode.h"
#include "movegen/legality.h"

namespace tarvonel
{

namespace
{

constexpr int fiftyMovePlies = 100;

int occurrences(const pos &position)
{
    const int oldest = std::max(position.keyCount - 1 - position.fiftyCount, 0);
    int count = 0;
    for (int i = position.keyCount - 1; i >= oldest; i -= 2)
        count += position.keyHistory[i] == position.key ? 1 : 0;
    return count;
}

/// Bare kings, a single minor piece, or only bishops on squares of one colour.
bool isDeadPosition(const pos &position)
{
    const auto both = [&](int code) { return position.bitboards[code] | position.bitboards[code + 1]; };
    if ((both(whitePawn) | both(whiteRook) | both(whiteQueen)) != 0)
        return false;
    const bitboard knights = both(whiteKnight);
    const bitboard bishops = both(whiteBishop);
    if (knights != 0)
        return bishops == 0 && exactlyOne(knights);
    return (bishops & darkSquares) == 0 || (bishops & lightSquares) == 0;
}

} // namespace

std::vector<moveCode> legalMoves(posWithMoves &board)
{
    const posinfo &root = board.position.info[0];
    buildLegalList(0, board.firstMove(), board.position);
    return {root.listStart, root.listEnd};
}

gameEnd endOfGame(const posWithMoves &board, const std::vector<moveCode> &moves)
{
    const pos &position = board.position;
    if (moves.empty())
        return position.info[0].inCheck != 0 ? gameEnd::checkmate : gameEnd::stalemate;
    if (isDeadPosition(position))
        return gameEnd::material;
    if (position.fiftyCount >= fiftyMovePlies)
        return gameEnd::fiftyMoves;
    return occurrences(position) >= 3 ? gameEnd::repetition : gameEnd::none;
}

moveCode findMove(const posWithMoves &board, const std::vector<moveCode> &moves, const std::string &text)
{
    for (const moveCode move : moves)
        if (moveText(move, board.position.sideToMove, board.position) == text)
            return move & moveIdentityMask;
    return noMove;
}

const char *endText(gameEnd end)
{
    constexpr const char *texts[] = {"unfinished",           "checkmate",   "stalemate",
                                     "threefold repetition", "fifty moves", "insufficient material"}; // by gameEnd
    return texts[static_cast<int>(end)];
}

} // namespace tarvonel

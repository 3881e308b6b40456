#include "uci/positionCommand.h"

#include <memory>
#include <string>

#include "board/attackTables.h"
#include "board/keys.h"
#include "board/makeMove.h"
#include "board/moveCode.h"
#include "board/setup.h"
#include "platform/parseText.h"
#include "search/searchLimits.h"
#include "uci/commandGuards.h"

namespace tarvonel
{
namespace
{

posWithMoves mainBoard;
bool isPositionRefused = false;

/// Plays the moves in the rest of the line. Returns their number.
int playMoves(std::istream &words, pos &position)
{
    int played = 0;
    for (std::string word; words >> word; ++played)
    {
        const moveCode move = parseMoveText(word, position);
        if (move == noMove)
        {
            refuse("Illegal move text: " + word);
            break;
        }
        playGameMove(position, move);
    }
    return played;
}

// Moves are not checked, so one may have captured the king.
bool isSideToMoveInCheck(const pos &position)
{
    const colour side = position.sideToMove;
    return position.bitboards[whiteKing + side] != 0 && isKingAttacked(position, side);
}

// Moves after a FEN count twice: time management is tuned to that.
int gamePlyAfter(bool isFromStart, int keyCount, int played)
{
    if (isFromStart)
        return played;
    return keyCount > 1 ? keyCount + played : gamePlyUnknown;
}

} // namespace

pos &mainPos = mainBoard.position;

void positionCommand(std::istream &words)
{
    std::string kind;
    words >> kind;
    const bool isFromStart = kind == "startpos";
    if (!isFromStart && kind != "fen")
        return;

    std::string fen = startPositionFen;
    std::string ignored;
    if (isFromStart)
        words >> ignored;
    else
        fen = joinWords(words, "moves");

    const auto candidate = std::make_unique<pos>(mainPos);
    const std::string fault = setupPlayablePosition(fen, *candidate);
    if (!fault.empty())
        return refusePosition("Invalid position: " + fault);
    const int played = playMoves(words, *candidate);
    dropInvalidRights(*candidate); // after unchecked moves; recomputes the key
    candidate->pawnKey = computePawnKey(*candidate);
    candidate->info[0].inCheck = isSideToMoveInCheck(*candidate) ? 1 : 0;
    searchLimits.gamePlyHint = gamePlyAfter(isFromStart, candidate->keyCount, played);
    mainPos = *candidate;
    isPositionRefused = false;
}

void refusePosition(const std::string &reason)
{
    isPositionRefused = true;
    refuse(reason);
}

bool isMainPositionPlayable()
{
    if (isPositionRefused)
        refuse("There is no position: the last one was refused");
    else if (!isPlayable(mainPos))
        refuse("The position cannot be played on: a king is missing or could be taken");
    else
        return true;
    return false;
}

} // namespace tarvonel

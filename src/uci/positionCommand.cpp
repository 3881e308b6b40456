#include "uci/positionCommand.h"

#include <memory>
#include <string>

#include "board/attackTables.h"
#include "board/keys.h"
#include "board/makeMove.h"
#include "board/moveCode.h"
#include "board/setup.h"
#include "platform/output.h"
#include "search/searchLimits.h"

namespace tarvonel
{
namespace
{

/// The words up to "moves" or the end of the line.
std::string readFenWords(std::istream &words)
{
    std::string fen, word;
    while (words >> word && word != "moves")
        fen += word + ' ';
    return fen;
}

/// Plays the moves that the rest of the line tells and returns their number.
int playMoves(std::istream &words, pos &position)
{
    int played = 0;
    for (std::string word; words >> word; ++played)
    {
        const moveCode move = parseMoveText(word, position);
        if (move == noMove)
        {
            printInfo("Illegal move text: " + word);
            break;
        }
        playGameMove(position, move);
    }
    return played;
}

// A move taken on trust can have captured the king.
bool isSideToMoveInCheck(const pos &position)
{
    const colour side = position.sideToMove;
    return position.bitboards[whiteKing + side] != 0 && isKingAttacked(position, side);
}

// The moves count a second time behind a FEN text: the rows of the time allotment were chosen so.
int gamePlyAfter(bool isFromStart, int keyCount, int played)
{
    if (isFromStart)
        return played;
    return keyCount > 1 ? keyCount + played : gamePlyUnknown;
}

} // namespace

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
        fen = readFenWords(words);

    const auto candidate = std::make_unique<pos>(mainPos);
    const std::string fault = setupPlayablePosition(fen, *candidate);
    if (!fault.empty())
    {
        printInfo("Invalid position: " + fault);
        return;
    }
    const int played = playMoves(words, *candidate);
    dropInvalidRights(*candidate); // of moves taken on trust; computes the key anew
    candidate->pawnKey = computePawnKey(*candidate);
    candidate->info[0].inCheck = isSideToMoveInCheck(*candidate) ? 1 : 0;
    searchLimits.gamePlyHint = gamePlyAfter(isFromStart, candidate->keyCount, played);
    mainPos = *candidate;
}

} // namespace tarvonel

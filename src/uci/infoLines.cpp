#include "uci/console.h"

#include <cstdlib>

#include "board/moveCode.h"
#include "platform/output.h"
#include "search/score.h"
#include "search/worker.h"

namespace tarvonel
{
namespace
{

constexpr int tbMoveDepth = 127;

/// The principal variation, each move followed by a blank.
std::string pvText(const pos &position)
{
    std::string text;
    colour side = position.sideToMove;
    for (int ply = 0; ply <= position.pvLast; ++ply, side = opponent(side))
        text += moveText(position.info[ply].pvMove, side, position) + ' ';
    return text;
}

/// " nodes ... pv ...": the end of a line for an iteration.
std::string effortText(const pos &position)
{
    const searchTotals totals = sumUpSearch();
    return " nodes " + std::to_string(totals.nodes) + " nps " + std::to_string(totals.nodesPerSecond) + " time " +
           std::to_string(totals.elapsedMs) + " tbhits " + std::to_string(totals.tablebaseHits) + " pv " +
           pvText(position);
}

/// Moves to the mate of a mate score, negative if the side to move is mated.
int movesToMate(int mateScore)
{
    const int moves = (scoreMate - std::abs(mateScore)) / 2 + 1;
    return mateScore > 0 ? moves : -moves;
}

void reportRootTbMove(const pos &position, int score, moveCode move)
{
    const std::string depth = std::to_string(tbMoveDepth);
    printLine("info score cp " + std::to_string(score) + " depth " + depth + " seldepth " + depth +
              " nodes 1 tbhits 1 time 1 pv " + moveText(move, position.sideToMove, position));
}

} // namespace

std::string iterationText(const pos &position, int score, int depth, int selDepth)
{
    return "info score cp " + std::to_string(score) + " depth " + std::to_string(depth) + " seldepth " +
           std::to_string(selDepth) + effortText(position);
}

std::string mateText(const pos &position, int score, int depth)
{
    return "info score mate " + std::to_string(movesToMate(score)) + " depth " + std::to_string(depth) +
           effortText(position);
}

std::string answerText(moveCode best, moveCode ponder, colour side, const pos &rooks)
{
    std::string line = "bestmove " + moveText(best, side, rooks);
    if (ponder != noMove)
        line += " ponder " + moveText(ponder, opponent(side), rooks);
    return line;
}

const searchReporter protocolReporter = {.iterationDone = [](const pos &position, int score, int depth, int selDepth)
                                         { printLine(iterationText(position, score, depth, selDepth)); },
                                         .mateFound = [](const pos &position, int score, int depth)
                                         { printLine(mateText(position, score, depth)); },
                                         .matedAtRoot = [] { printLine("info score mate 0"); },
                                         .rootTbMove = reportRootTbMove,
                                         .answer = [](moveCode best, moveCode ponder, colour side, const pos &rooks)
                                         { printLine(answerText(best, ponder, side, rooks)); }};

} // namespace tarvonel

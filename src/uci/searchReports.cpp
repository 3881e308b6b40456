#include "uci/searchReports.h"

#include <cstdlib>

#include "board/moveText.h"
#include "platform/output.h"
#include "search/score.h"

namespace tarvonel
{
namespace
{

constexpr int tableMoveDepth = 127;

/// " nodes ... pv ...": what the lines of an iteration end in.
std::string effortText(const pos &position)
{
    const searchTotals totals = sumUpSearch();
    return " nodes " + std::to_string(totals.nodes) + " nps " + std::to_string(totals.nodesPerSecond) + " time " +
           std::to_string(totals.elapsedMs) + " tbhits " + std::to_string(totals.tablebaseHits) + " pv " +
           pvText(position);
}

void searchReport(const pos &position, int score, int depth, int selDepth)
{
    printLine("info score cp " + std::to_string(score) + " depth " + std::to_string(depth) + " seldepth " +
              std::to_string(selDepth) + effortText(position));
}

void mateReport(const pos &position, int score, int depth)
{
    printLine("info score mate " + std::to_string(movesToMate(score)) + " depth " + std::to_string(depth) +
              effortText(position));
}

void matedReport() { printLine("info score mate 0"); }

void tableMoveReport(const pos &position, int score, moveCode move)
{
    const std::string depth = std::to_string(tableMoveDepth);
    printLine("info score cp " + std::to_string(score) + " depth " + depth + " seldepth " + depth +
              " nodes 1 tbhits 1 time 1 pv " + moveText(move, position.sideToMove, position));
}

void answerReport(moveCode best, moveCode ponder, colour side, const pos &rooks)
{
    std::string line = "bestmove " + moveText(best, side, rooks);
    if (ponder != noMove)
        line += " ponder " + moveText(ponder, opponent(side), rooks);
    printLine(line);
}

} // namespace

const searchReporter protocolReporter = {.iterationDone = searchReport,
                                         .mateFound = mateReport,
                                         .matedAtRoot = matedReport,
                                         .tableMove = tableMoveReport,
                                         .answer = answerReport};

std::string pvText(const pos &position)
{
    std::string text;
    colour side = position.sideToMove;
    for (int ply = 0; ply <= position.pvLast; ++ply, side = opponent(side))
        text += moveText(position.info[ply].pvMove, side, position) + ' ';
    return text;
}

int movesToMate(int mateScore)
{
    const int moves = (scoreMate - std::abs(mateScore)) / 2 + 1;
    return mateScore > 0 ? moves : -moves;
}

} // namespace tarvonel

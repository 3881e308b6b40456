#include "uci/console.h"

#include <initializer_list>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "search/searchLimits.h"
#include "search/worker.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

/// Two workers that have searched, and a variation with an en passant capture and a castling.
class infoLines : public testing::Test
{
  protected:
    void SetUp() override
    {
        rebuildWorkerPool(2);
        outputOf(positionCommand, "fen r3k2r/8/8/3pP3/8/8/8/R3K2R w KQkq d6 0 1");
        for (const auto &w : workerPool)
            w->adopt(mainPos);
        searchLimits.elapsedMs = 0;
        position().info[0].pvMove = encodeMove(e5, d5, enPassantCapture);
        position().info[1].pvMove = encodeMove(e8, g8, castleKingSide);
        position().info[2].pvMove = encodeMove(d6, d7);
        position().pvLast = 2;
        position().searchNodes = 1000;
        workerPool[1]->position.quiescenceNodes = 500;
        workerPool[1]->position.tablebaseHits = 7;
    }
    void TearDown() override
    {
        rebuildWorkerPool(0);
        engineOptions.chess960 = false;
    }
    static pos &position() { return theBoss().position; }
};

TEST_F(infoLines, linesOfAnIteration)
{
    EXPECT_EQ(outputOf([] { protocolReporter.iterationDone(position(), -31, 12, 20); }),
              "info score cp -31 depth 12 seldepth 20 nodes 1500 nps 1500000 time 1 tbhits 7 pv e5d6 e8g8 d6d7 \n")
        << "an elapsed time of 0 counts as 1";
    searchLimits.elapsedMs = 700;
    position().pvLast = 0;
    for (const auto &[score, moves] : std::initializer_list<std::pair<int, std::string>>{
             {31999, "1"}, {31997, "2"}, {-31998, "-2"}, {-31996, "-3"}, {31873, "64"}})
        EXPECT_EQ(outputOf([value = score] { protocolReporter.mateFound(position(), value, 12); }),
                  "info score mate " + moves + " depth 12 nodes 1500 nps 2142 time 700 tbhits 7 pv e5d6 \n");
}

TEST_F(infoLines, endsOfASearch)
{
    const moveCode castling = encodeMove(e1, c1, castleQueenSide);
    EXPECT_EQ(outputOf([&] { protocolReporter.rootTbMove(position(), 31800, castling); }),
              "info score cp 31800 depth 127 seldepth 127 nodes 1 tbhits 1 time 1 pv e1c1\n");
    EXPECT_EQ(answerText(encodeMove(e8, g8, castleKingSide), encodeMove(a7, a8, promoteKnight), black, position()),
              "bestmove e8g8 ponder a7a8n");
    engineOptions.chess960 = true;
    EXPECT_EQ(answerText(castling, noMove, white, position()), "bestmove e1a1");
}

} // namespace
} // namespace tarvonel

#include "uci/positionCommand.h"

#include <string>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "board/keys.h"
#include "board/setup.h"
#include "search/searchLimits.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

class positionText : public testing::Test
{
  protected:
    void SetUp() override { outputOf(positionCommand, "startpos"); }
    void TearDown() override { engineOptions.chess960 = false; }
};

std::string boardNow() { return fenOf(mainPos, engineOptions.chess960, 1); }

TEST_F(positionText, setsTheBoardAndTheGamePly)
{
    struct
    {
        const char *text;
        int hint;
        const char *board;
        bool inCheck = false, chess960 = false;
    } const cases[] = {
        {"startpos", 0, "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"},
        // the word after "startpos" is ignored
        {"startpos e2e4 g1f3", 1, "rnbqkbnr/pppppppp/8/8/8/5N2/PPPPPPPP/RNBQKB1R b KQkq - 1 1"},
        {"fen 4k3/8/8/8/8/8/4P3/4K3 w", gamePlyUnknown, "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"},
        {"fen 4k3/8/8/8/8/8/4P3/4K3 w - - 0 20", 39, "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"},
        {"fen 4k3/8/8/8/8/8/4P3/4K3 b - - 0 1", 2, "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1"},
        {"fen r3k3/8/8/8/8/8/8/4K3 b q - 0 1 moves e8c8", 4, "2kr4/8/8/8/8/8/8/4K3 w - - 1 1"},
        {"fen 6k1/8/8/8/8/8/K7/4R3 w - - 0 1 moves e1g1", 3, "6k1/8/8/8/8/8/K7/6R1 b - - 1 1", true}, // a rook's move
        {"fen 4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1 moves e1h1", 3, "4k3/8/8/8/8/8/8/R4RK1 b - - 1 1", false, true},
        {"fen 7k/P7/8/8/8/8/8/K7 w - - 0 1 moves a7a8q", 3, "Q6k/8/8/8/8/8/8/K7 b - - 0 1", true},
        {"fen 4k3/8/8/8/1p6/8/P7/4K3 w - - 0 1 moves a2a4 b4a3", 5, "4k3/8/8/8/8/p7/8/4K3 w - - 0 1"},
        {"startpos moves g1f3q", 1, "rnbqkbnr/pppppppp/8/8/8/5Q2/PPPPPPPP/RNBQKBNR b KQkq - 1 1"}, // no pawn, on trust
        {"fen 4k3/8/8/8/8/8/8/4K2R w KQkq - 0 2", 3, "4k3/8/8/8/8/8/8/4K2R w K - 0 1"}, // rights without rooks
    };
    for (const auto &c : cases)
    {
        engineOptions.chess960 = c.chess960;
        EXPECT_EQ(outputOf(positionCommand, c.text), "") << c.text;
        EXPECT_EQ(searchLimits.gamePlyHint, c.hint) << c.text;
        EXPECT_EQ(boardNow(), c.board) << c.text;
        EXPECT_EQ(mainPos.info[0].inCheck, c.inCheck) << c.text;
        EXPECT_EQ(mainPos.key, computeKey(mainPos)) << c.text;
        EXPECT_EQ(mainPos.pawnKey, computePawnKey(mainPos)) << c.text;
        EXPECT_EQ(mainPos.keyHistory[mainPos.keyCount - 1], mainPos.key) << c.text;
    }
}

TEST_F(positionText, refusalsLeaveThePosition)
{
    struct
    {
        const char *text, *message;
    } const cases[] = {
        {"startPos", ""},
        {"fen moves e7e5", "info string Invalid position: "},
        {"fen 8/8/8/8/8/8/8/4K3 w - - 0 1 moves e7e5", "info string Invalid position: no black king"},
        {"fen 4k3/8/8/8/8/8/8/4R1K1 w - - 0 1", "info string Invalid position: the side not to move is in check"},
    };
    for (const auto &c : cases)
    {
        outputOf(positionCommand, "startpos moves e2e4");
        EXPECT_TRUE(isMainPositionPlayable()) << "a refusal lasts up to the next position";
        const std::string board = boardNow();
        EXPECT_TRUE(outputOf(positionCommand, c.text).starts_with(c.message)) << c.text;
        const bool isRefused = *c.message != '\0';
        EXPECT_EQ(outputOf([&] { EXPECT_NE(isMainPositionPlayable(), isRefused); }),
                  isRefused ? "info string There is no position: the last one was refused\n" : "")
            << c.text;
        EXPECT_EQ(boardNow(), board) << c.text;
        EXPECT_EQ(searchLimits.gamePlyHint, 1) << c.text;
    }
}

TEST_F(positionText, unreadableMoveEndsTheList)
{
    for (const char *word : {"e7e", "e7e9", "e4e6x", "e2e4", "\xff\xfe\xfd\xfc"})
    {
        EXPECT_EQ(outputOf(positionCommand, std::string("startpos moves e2e4 ") + word + " d7d5"),
                  std::string("info string Illegal move text: ") + word + "\n");
        EXPECT_EQ(searchLimits.gamePlyHint, 1) << word;
    }
}

} // namespace
} // namespace tarvonel

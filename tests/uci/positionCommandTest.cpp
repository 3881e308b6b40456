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

/// All men of `mainPos` from a1 to h8, white's in upper case: "Ke1 Pe2 ke8".
std::string menOnBoard()
{
    std::string men;
    for (int square = 0; square < squareCount; ++square)
        if (const pieceCode code = mainPos.board[square]; code != emptySquare)
            men += (men.empty() ? "" : " ") + std::string(1, pieceLetters[code]) + squareText(square);
    return men;
}

TEST_F(positionText, gamePlyHintOfStartAndFen)
{
    struct
    {
        const char *text;
        int hint;
    } const cases[] = {
        {"startpos", 0},
        {"startpos moves e2e4 e7e5", 2},
        {"startpos e2e4 e7e5", 1}, // the word behind "startpos" is dropped unseen
        {"fen 4k3/8/8/8/8/8/4P3/4K3 w", gamePlyUnknown},
        {"fen 4k3/8/8/8/8/8/4P3/4K3 w - - 0 20", 39},
        {"fen 4k3/8/8/8/8/8/4P3/4K3 b - - 0 1", 2},
        {"fen 4k3/8/8/8/8/8/4P3/4K3 w - - 0 1 moves e2e4", 3},
    };
    for (const auto &c : cases)
    {
        EXPECT_EQ(outputOf(positionCommand, c.text), "") << c.text;
        EXPECT_EQ(searchLimits.gamePlyHint, c.hint) << c.text;
    }
}

TEST_F(positionText, movesReachTheBoard)
{
    struct
    {
        const char *text, *men;
        bool chess960 = false, inCheck = false;
    } const cases[] = {
        {"fen r3k3/8/8/8/8/8/8/4K3 b q - 0 1 moves e8c8", "Ke1 kc8 rd8"},
        {"fen 6k1/8/8/8/8/8/K7/4R3 w - - 0 1 moves e1g1", "Rg1 Ka2 kg8", false, true}, // a rook's move
        {"fen 4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1 moves e1h1", "Ra1 Rf1 Kg1 ke8", true},
        {"fen 7k/P7/8/8/8/8/8/K7 w - - 0 1 moves a7a8q", "Ka1 Qa8 kh8", false, true},
        {"fen 4k3/8/8/8/1p6/8/P7/4K3 w - - 0 1 moves a2a4 b4a3", "Ke1 pa3 ke8"},
        {"fen 4k3/8/8/8/8/8/8/4K2R w KQkq - 0 1", "Ke1 Rh1 ke8"}, // rights without rooks
    };
    for (const auto &c : cases)
    {
        engineOptions.chess960 = c.chess960;
        EXPECT_EQ(outputOf(positionCommand, c.text), "") << c.text;
        EXPECT_EQ(menOnBoard(), c.men) << c.text;
        EXPECT_EQ(mainPos.info[0].inCheck, c.inCheck) << c.text;
        EXPECT_EQ(mainPos.key, computeKey(mainPos)) << c.text;
        EXPECT_EQ(mainPos.pawnKey, computePawnKey(mainPos)) << c.text;
        EXPECT_EQ(mainPos.keyHistory[mainPos.keyCount - 1], mainPos.key) << c.text;
    }
    EXPECT_EQ(mainPos.info[0].castling, whiteKingSide);
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
    outputOf(positionCommand, "startpos moves e2e4");
    const std::string men = menOnBoard();
    const std::uint64_t key = mainPos.key;
    for (const auto &c : cases)
    {
        EXPECT_TRUE(outputOf(positionCommand, c.text).starts_with(c.message)) << c.text;
        EXPECT_EQ(menOnBoard(), men) << c.text;
        EXPECT_EQ(mainPos.key, key) << c.text;
        EXPECT_EQ(searchLimits.gamePlyHint, 1) << c.text;
    }
}

TEST_F(positionText, unreadableMoveEndsTheList)
{
    for (const char *word : {"e7e", "e7e9", "e4e6x", "e2e4", "\xff\xfe\xfd\xfc"})
    {
        EXPECT_EQ(outputOf(positionCommand, std::string("startpos moves e2e4 ") + word + " d7d5"),
                  std::string("info string Illegal move text: ") + word + "\n");
        EXPECT_EQ(mainPos.board[e4], whitePawn) << word;
        EXPECT_EQ(mainPos.board[d7], blackPawn) << word;
        EXPECT_EQ(searchLimits.gamePlyHint, 1) << word;
    }
}

TEST_F(positionText, longGamesAndLostKingsAreTaken)
{
    std::string game = "startpos moves";
    for (int i = 0; i < 700; ++i)
        game += " g1f3 g8f6 f3g1 f6g8";
    EXPECT_EQ(outputOf(positionCommand, game), "");
    EXPECT_EQ(searchLimits.gamePlyHint, 2800);
    EXPECT_LT(mainPos.keyCount, keyHistorySize - plyCount + 1);
    EXPECT_EQ(mainPos.keyHistory[mainPos.keyCount - 1], mainPos.keyHistory[mainPos.keyCount - 5]);

    outputOf(positionCommand, "startpos moves e2e8 a7a6 e1e2 a6a5");
    EXPECT_FALSE(isPlayable(mainPos));
}

} // namespace
} // namespace tarvonel

#include "tuner/tuningData.h"

#include <cmath>
#include <cstdlib>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "eval/networkFile.h"
#include "tuner/tunerFixture.h"

namespace tarvonel
{

namespace
{

constexpr const char *blackToMove = "r1bq1rk1/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R b KQ - 0 8";
constexpr const char *enPassantPossible = "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 2";

int rawOutput(const std::string &fen)
{
    const auto position = std::make_unique<pos>();
    setupPosition(fen, *position);
    return networkOutput(*position, 0);
}

constexpr const char *noMarker = "info string Lines skipped in lichess-good.epd: 1 without c9, 0 without a playable "
                                 "position\n";
constexpr const char *noPosition = "info string Lines skipped in lichess-good.epd: 0 without c9, 1 without a playable "
                                   "position\n";
const struct
{
    const char *reason, *line;
    std::size_t taken;
    const char *message;
} lineCases[] = {
    {"all six fields", "4k3/8/8/8/8/8/8/4K3 w - - 0 1 c9 \"1-0\";", 1, ""},
    {"four fields", "4k3/8/8/8/8/8/8/4K3 w - - c9 \"1-0\";", 1, ""},
    {"any white space, carriage return at the end", "\t4k3/8/8/8/8/8/8/4K3   w\t- -  c9 \"1-0\";\r", 1, ""},
    {"nothing behind the marker", "4k3/8/8/8/8/8/8/4K3 w - - c9", 1, ""},
    {"more behind the result", "4k3/8/8/8/8/8/8/4K3 w - - c9 \"1-0\"; c9 x", 1, ""},
    {"empty", "\n", 0, noMarker},
    {"no marker", "4k3/8/8/8/8/8/8/4K3 w - - 0 1", 0, noMarker},
    {"marker as part of a word", "4k3/8/8/8/8/8/8/4K3 w - - 0 1 xc9 c9;", 0, noMarker},
    {"marker alone", "c9", 0, noPosition},
    {"no king", "8/8/8/8/8/8/8/4K3 w - - 0 1 c9 \"1-0\";", 0, noPosition},
    {"the king can be taken", "4k3/8/8/8/8/8/8/4RK2 w - - 0 1 c9 \"1-0\";", 0, noPosition},
    {"no FEN", "nonsense c9 \"1-0\";", 0, noPosition},
    {"balance 599", "rb6/1p3pr1/B1P1bk1p/4pPp1/q1PNPRPB/2P5/2R4P/Q1K5 b - - 0 37 c9 \"1-0\";", 1, ""},
    {"balance -599", "4rbn1/p2Bk3/PN1ppp1r/K2R3p/3P2q1/8/1N4Q1/8 b - - 9 47 c9 \"1-0\";", 1, ""},
    {"balance 600", "r3k2r/1p2p1bn/1N1p3n/pP5p/P2PPP2/1Rp1B1PP/2P4N/3BK2R b K - 0 27 c9 \"1-0\";", 0, ""},
    {"balance -600", "1q3b2/r2B4/2n1prkp/4pp2/b2P4/5NPP/PQPKR3/1N6 w - - 1 35 c9 \"1-0\";", 0, ""},
};

} // namespace

class tuningDataTest : public tunerFixture
{
};

TEST_F(tuningDataTest, linesTakenDroppedAndSkipped)
{
    for (const auto &each : lineCases)
    {
        tuningPositions.clear();
        printed.clear();
        read(each.line);
        EXPECT_EQ(tuningPositions.size(), each.taken) << each.reason;
        EXPECT_EQ(printed, each.message) << each.reason;
    }
}

TEST_F(tuningDataTest, recordsAreTheSetUpPositionsLabelledByTheNetwork)
{
    const std::string fens[] = {startPositionFen, blackToMove, enPassantPossible, "4k3/8/3N4/8/8/8/8/4K3 b - - 0 60"};
    std::string fileText;
    for (const std::string &fen : fens)
        fileText += fen + " c9 \"1/2-1/2\";\n";
    read(fileText);
    ASSERT_EQ(tuningPositions.size(), std::size(fens));

    int scoresOtherThanZero = 0;
    for (std::size_t i = 0; i < std::size(fens); ++i)
    {
        const tuningPosition &record = tuningPositions[i];
        const auto fresh = std::make_unique<pos>();
        setupPosition(fens[i], *fresh);
        EXPECT_EQ(record.fen, fens[i] + " ");
        EXPECT_EQ(record.head.key, fresh->key);
        EXPECT_EQ(record.castling, fresh->info[0].castling);
        EXPECT_EQ(record.enPassant, fresh->info[0].enPassant);
        EXPECT_EQ(record.inCheck, fresh->info[0].inCheck);
        const int whiteScore = rawOutput(fens[i]) / 58 * (fresh->sideToMove == white ? 1 : -1);
        EXPECT_DOUBLE_EQ(record.label, 1 / (1 + std::exp(-3.55 * whiteScore / 400))) << fens[i];
        scoresOtherThanZero += std::abs(whiteScore) > 5;
    }
    EXPECT_GE(scoresOtherThanZero, 3);
    EXPECT_EQ(tuningPositions[2].enPassant, d5);
    EXPECT_EQ(tuningPositions[3].inCheck, 1);
}

TEST_F(tuningDataTest, theListGrowsAndLabelsFollowTheKInForce)
{
    const std::string line = std::string(blackToMove) + " c9 \"1-0\";\n";
    read(line);
    tuningK = 1;
    read(line);
    ASSERT_EQ(tuningPositions.size(), 2U);
    const int whiteScore = -rawOutput(blackToMove) / 58;
    ASSERT_NE(whiteScore, 0);
    EXPECT_DOUBLE_EQ(tuningPositions[0].label, 1 / (1 + std::exp(-3.55 * whiteScore / 400)));
    EXPECT_DOUBLE_EQ(tuningPositions[1].label, 1 / (1 + std::exp(-1.0 * whiteScore / 400)));
    netLoaded = false;
    read(line);
    EXPECT_EQ(tuningPositions.size(), 2U) << "without a network nothing is taken";
}

} // namespace tarvonel

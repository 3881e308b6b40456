#include "tuner/tuningData.h"

#include <cmath>
#include <cstdlib>
#include <new>
#include <streambuf>

#include "board/setup.h"
#include "eval/network.h"
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

const struct
{
    const char *reason, *line;
    int taken, handSet, withoutMarker, unplayable;
} lineCases[] = {
    {"all six fields", "4k3/8/8/8/8/8/8/4K3 w - - 0 1 c9 \"1-0\";", 1, 0, 0, 0},
    {"four fields, any white space, a carriage return", "\t4k3/8/8/8/8/8/8/4K3   w\t- -  c9 \"1-0\";\r", 1, 0, 0, 0},
    {"nothing after the marker", "4k3/8/8/8/8/8/8/4K3 w - - c9", 1, 0, 0, 0},
    {"empty", "\n", 0, 0, 1, 0},
    {"marker as part of a word", "4k3/8/8/8/8/8/8/4K3 w - - 0 1 xc9 c9;", 0, 0, 1, 0},
    {"marker alone", "c9", 0, 0, 0, 1},
    {"the king can be taken", "4k3/8/8/8/8/8/8/4RK2 w - - 0 1 c9 \"1-0\";", 0, 0, 0, 1},
    {"balance 599", "rb6/1p3pr1/B1P1bk1p/4pPp1/q1PNPRPB/2P5/2R4P/Q1K5 b - - 0 37 c9 \"1-0\";", 1, 1, 0, 0},
    {"balance -599", "4rbn1/p2Bk3/PN1ppp1r/K2R3p/3P2q1/8/1N4Q1/8 b - - 9 47 c9 \"1-0\";", 1, 1, 0, 0},
    {"balance 600", "r3k2r/1p2p1bn/1N1p3n/pP5p/P2PPP2/1Rp1B1PP/2P4N/3BK2R b K - 0 27 c9 \"1-0\";", 0, 0, 0, 0},
    {"balance -600", "1q3b2/r2B4/2n1prkp/4pp2/b2P4/5NPP/PQPKR3/1N6 w - - 1 35 c9 \"1-0\";", 0, 0, 0, 0},
};

/// A file whose second block does not fit in memory.
struct exhaustedFile : std::streambuf
{
    std::string line = std::string(blackToMove) + " c9\n";

    exhaustedFile() { setg(line.data(), line.data(), line.data() + line.size()); }
    int_type underflow() override { throw std::bad_alloc(); }
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
        std::string expected = lineOf("info string Positions taken from lichess-good.epd: ", each.taken, ", of which ",
                                      each.handSet, " measure the hand-set terms");
        if (each.withoutMarker + each.unplayable > 0)
            expected += lineOf("info string Lines skipped in lichess-good.epd: ", each.withoutMarker, " without c9, ",
                               each.unplayable, " without a playable position");
        if (each.taken == 0)
            expected += "info string There is no position to tune with: tuning not executed\n";
        EXPECT_EQ(printed, expected) << each.reason;
    }
}

TEST_F(tuningDataTest, aFileTooLargeForMemoryLeavesEarlierPositionsAlone)
{
    read(std::string(enPassantPossible) + " c9");
    printed.clear();
    exhaustedFile buffer;
    std::istream file(&buffer);
    EXPECT_FALSE(readTuningPositions(file, *position, print));
    EXPECT_EQ(printed, "info string lichess-good.epd does not fit in memory: tuning not executed\n");
    ASSERT_EQ(tuningPositions.size(), 1U);
    EXPECT_EQ(tuningPositions[0].enPassant, d5);
}

TEST_F(tuningDataTest, recordsArePositionsLabelledByTheNetworkAndTheCurrentK)
{
    const std::string fens[] = {blackToMove, enPassantPossible, "4k3/8/3N4/8/8/8/8/4K3 b - - 0 60"};
    for (const double k : {3.55, 1.0})
    {
        tuningK = k;
        const std::size_t known = tuningPositions.size();
        for (const std::string &fen : fens)
            read(fen + " c9 \"1/2-1/2\";\n");
        ASSERT_EQ(tuningPositions.size(), known + std::size(fens)) << "the list grows";
        for (std::size_t i = 0; i < std::size(fens); ++i)
        {
            const tuningPosition &record = tuningPositions[known + i];
            const auto fresh = std::make_unique<pos>();
            setupPosition(fens[i], *fresh);
            EXPECT_EQ(record.fen, fens[i] + " ");
            EXPECT_EQ(record.head.key, fresh->key);
            EXPECT_EQ(record.castling, fresh->info[0].castling);
            EXPECT_EQ(record.enPassant, fresh->info[0].enPassant);
            EXPECT_EQ(record.inCheck, fresh->info[0].inCheck);
            const int whiteScore = rawOutput(fens[i]) / 58 * (fresh->sideToMove == white ? 1 : -1);
            EXPECT_GT(std::abs(whiteScore), 5);
            EXPECT_DOUBLE_EQ(record.label, 1 / (1 + std::exp(-k * whiteScore / 400))) << fens[i];
        }
    }
    EXPECT_EQ(tuningPositions[1].enPassant, d5);
    EXPECT_EQ(tuningPositions[2].inCheck, 1);
}

} // namespace tarvonel

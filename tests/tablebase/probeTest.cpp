// Probes against the solver: every value of small endings, en passant, captures, distances
// that are stored for one side only, and the choice of a move at the root.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "support/tablebaseWorld.h"
#include "tablebase/probe.h"
#include "tablebase/tableRegistry.h"

namespace tarvonel
{

using namespace endings;

namespace
{

constexpr int noSuccess = 0;

/// A distance as a file tells it that counts moves: the stored half, doubled.
int inMoves(int value) { return signOf(value) * (1 + (std::abs(value) - 1) / 2 * 2); }

/// The move that the root probe has to choose, worked out from the solver.
int expectedRootMove(const endingSolver &solver, const ending &position, std::uint64_t drawPick)
{
    std::vector<endingMove> moves = legalMoves(position);
    const auto promotionRank = [](int type)
    {
        return std::array{0, 2, 4, 3, 1, 0}[static_cast<std::size_t>(type)]; // queen, knight, rook, bishop
    };
    const auto typeAt = [&](int square) {
        return position
            .types[std::find(position.squares, position.squares + position.count, square) - position.squares];
    };
    std::sort(moves.begin(), moves.end(),
              [&](const endingMove &a, const endingMove &b)
              {
                  return std::tuple(-typeAt(a.from), a.from, a.to, promotionRank(a.promotion)) <
                         std::tuple(-typeAt(b.from), b.from, b.to, promotionRank(b.promotion));
              });
    const int dtz = solver.value(position);
    const endingMove *best = nullptr;
    int bestValue = dtz > 0 ? 1000 : 0;
    std::vector<const endingMove *> draws;
    for (const endingMove &move : moves)
    {
        int value = -solver.value(move.next);
        if (move.capture || move.pawnMove)
            value = signOf(value);
        else if (!(value == 1 && isInCheck(move.next, move.next.turn) && legalMoves(move.next).empty()))
            value += signOf(value);
        if (value == 0)
            draws.push_back(&move);
        if (value < bestValue && (dtz < 0 || value > 0))
        {
            bestValue = value;
            best = &move;
        }
    }
    if (dtz == 0)
    {
        if (draws.empty())
            return tbStalemateCode;
        best = draws[drawPick % draws.size()];
    }
    if (best == nullptr)
        return tbCheckmateCode;
    const int promotions[] = {noPromotion, toKnight, toBishop, toRook, toQueen};
    return best->to | best->from << 6 | promotions[best->promotion] << 12;
}

} // namespace

TEST(tableProbe, everyThreeMenValueAgreesWithTheSolver)
{
    initTablebases(threeMenWorld().directory.path);
    ASSERT_EQ(tableCardinality, 3u);
    expectThreeMenAgree();
}

TEST(tableProbe, enPassantAndCapturesDecideBesideTheTable)
{
    const solvedWorld &world = pawnsWorld();
    initTablebases(world.directory.path);
    ASSERT_EQ(tableCardinality, 4u);
    tally wdl, dtz;
    int betterByEnPassant = 0, byCapture = 0;
    std::mt19937_64 random(2);
    const auto check = [&](const ending &position)
    {
        const int truth = world.solver.value(position);
        const tbPosition given = toTbPosition(position);
        int success = noSuccess;
        const int value = probeWdl(given, success);
        wdl.compare(position, 2 * signOf(truth), value, success);
        byCapture += success == 2 && position.ep == noEp;
        if (position.ep != noEp)
            betterByEnPassant += signOf(truth) > signOf(world.solver.valueWithoutEp(position));
        if (position.ep != noEp || random() % 8 == 0)
        {
            const int plies = probeDtz(given, success);
            dtz.compare(position, truth > 0 ? inMoves(truth) : truth, plies, success);
        }
    };
    ending position = menOfName("KPvKP");
    for (const auto &[whiteFile, blackFile] : {std::pair{fileB, fileA}, std::pair{fileH, fileG}})
        for (int whiteRank = rank2; whiteRank <= rank7; ++whiteRank)
            for (int blackRank = rank2; blackRank <= rank7; ++blackRank)
                for (int kings = 0; kings < 4096; ++kings)
                {
                    const int squares[] = {kings & 63, squareAt(whiteFile, whiteRank), kings >> 6,
                                           squareAt(blackFile, blackRank)};
                    std::copy(squares, squares + 4, position.squares);
                    position.turn = kings % 2;
                    if (!isPossible(position))
                        continue;
                    check(position);
                    for (const endingMove &move : legalMoves(position))
                        if (move.next.ep != noEp)
                        {
                            check(move.next);
                            check(swappedColours(move.next));
                        }
                }
    EXPECT_GT(betterByEnPassant, 100);
    EXPECT_GT(byCapture, 1000);
    wdl.expectNoneWrong("results", 100000);
    dtz.expectNoneWrong("distances", 10000);
}

TEST(tableProbe, aStalemateThatEnPassantLiftsIsNone)
{
    const temporaryDirectory directory;
    writeBytes(directory / "KQPvKP.rtbw", makeConstantWdlTable("KQPvKP", 2, 0));
    writeBytes(directory / "KQvKP.rtbw", makeConstantWdlTable("KQvKP", 2, -2));
    writeBytes(directory / "KQvK.rtbw", makeConstantWdlTable("KQvK", 2, -2));
    initTablebases(directory.path);

    // The black pawn is blocked; the queen takes the black king's squares, or does not.
    ending position = menOfName("KQPvKP");
    std::copy_n(std::array{b3, f2, a4, h1, b4}.begin(), 5, position.squares);
    position.turn = black;
    position.ep = a3;
    int success = noSuccess;
    for (const ending &asked : {position, swappedColours(position)})
    {
        EXPECT_EQ(probeWdl(toTbPosition(asked), success), -2) << describe(asked);
        EXPECT_EQ(success, 2);
        EXPECT_EQ(probeDtz(toTbPosition(asked), success), -1) << describe(asked);
    }
    position.squares[1] = e8;
    EXPECT_EQ(probeWdl(toTbPosition(position), success), 0) << "the king can move";
    position.squares[1] = f2;
    position.ep = noEp;
    EXPECT_EQ(probeWdl(toTbPosition(position), success), 0) << "stalemate";
}

TEST(tableProbe, rootChoosesTheBestDistanceAndTheFirstOfEquals)
{
    const solvedWorld &world = threeMenWorld();
    initTablebases(world.directory.path);
    std::mt19937_64 random(3);
    for (const char *name : {"KQvK", "KRvK", "KBvK", "KPvK"})
    {
        tally moves, distances;
        int mated = 0, stalemated = 0;
        forAllPositions(name,
                        [&](const ending &position)
                        {
                            if (legalMoves(position).empty())
                                ++(isInCheck(position, position.turn) ? mated : stalemated);
                            else if (random() % 128 != 0)
                                return;
                            const ending asked = random() % 2 ? swappedColours(position) : position;
                            const tbPosition given = toTbPosition(asked, 7);
                            int success = noSuccess, dtz = -1000;
                            const int move = probeRoot(given, success, dtz);
                            moves.compare(asked,
                                          expectedRootMove(world.solver, asked, materialSignature(given, asked.turn)),
                                          move, success);
                            distances.compare(asked, world.solver.value(asked), dtz, success);
                        });
        moves.expectNoneWrong(name, 300);
        distances.expectNoneWrong(name, 300);
        const bool canMate = std::string("KQvK KRvK").find(name) != std::string::npos;
        EXPECT_EQ(mated > 0, canMate) << name;
        EXPECT_GT(stalemated, 0) << name;
    }
}

TEST(tableProbe, winsBeyondTheFiftyMoveRuleCountFromHundredOn)
{
    // KRvK, as if every win came too late.
    const endingSolver &solver = threeMenWorld().solver;
    const temporaryDirectory directory;
    const auto choose = [&](const ending &position)
    {
        const int truth = solver.value(position);
        return choice{truth + 100 * signOf(truth), truth != 0 ? choice::freedom::exact : choice::freedom::any};
    };
    recipe how;
    how.spoilt = [](const ending &) { return true; };
    writeBytes(directory / "KRvK.rtbz", makeDtzTable("KRvK", how, choose));
    writeBytes(directory / "KRvK.rtbw",
               makeWdlTable("KRvK", {},
                            [&](const ending &position) {
                                return choice{signOf(solver.value(position)), choice::freedom::exact};
                            }));
    initTablebases(directory.path);
    tally wdl, dtz;
    forAllPositions("KRvK",
                    [&](const ending &position)
                    {
                        int success = noSuccess;
                        const int truth = solver.value(position);
                        const int value = probeWdl(toTbPosition(position), success);
                        wdl.compare(position, signOf(truth), value, success);
                        const int plies = probeDtz(toTbPosition(position), success);
                        // Distances are stored in moves for white, and read one move ahead for black.
                        const int stored = truth > 0 ? inMoves(truth) + 100 : 0;
                        if (position.turn == white)
                            dtz.compare(position, stored, plies, success);
                        else if (position.squares[0] % 8 == 0)
                        {
                            int expected = truth < 0 ? -101 : 0;
                            for (const endingMove &move : legalMoves(position))
                                if (truth < 0 && !move.capture)
                                    expected = std::min(expected, -(inMoves(solver.value(move.next)) + 100) - 1);
                            dtz.compare(position, expected, plies, success);
                        }
                    });
    wdl.expectNoneWrong("results", 50000);
    dtz.expectNoneWrong("distances", 10000);
}

TEST(tableProbe, aMissingTableFailsTheProbeThatNeedsIt)
{
    const solvedWorld &world = threeMenWorld();
    const temporaryDirectory directory;
    for (const char *file : {"KRvK.rtbw", "KPvK.rtbw", "KPvK.rtbz"})
        std::filesystem::copy_file(world.directory / file, directory / file);
    initTablebases(directory.path);

    const ending rook = threeMen("KRvK", e1, a1, e5);
    int success = noSuccess, dtz = 0;
    EXPECT_EQ(probeWdl(toTbPosition(rook), success), 2);
    EXPECT_EQ(success, 1);
    EXPECT_EQ(probeDtz(toTbPosition(rook), success), 0);
    EXPECT_EQ(success, noSuccess) << "no distances";
    EXPECT_EQ(probeRoot(toTbPosition(rook), success, dtz), 0);
    EXPECT_EQ(success, noSuccess);

    const ending promoting = threeMen("KPvK", e1, a7, e5);
    EXPECT_EQ(probeWdl(toTbPosition(promoting), success), 2);
    probeDtz(toTbPosition(promoting), success);
    EXPECT_EQ(success, noSuccess) << "the queen's table is missing";

    ending kings = menOfName("KvK");
    kings.squares[1] = e5;
    EXPECT_EQ(probeWdl(toTbPosition(kings), success), 0);
    EXPECT_EQ(success, 1) << "kings alone need no table";

    ending eight = menOfName("KvK");
    tbPosition crowd = toTbPosition(eight);
    crowd.white |= 0xFF00;
    crowd.queens |= 0xFF00;
    EXPECT_EQ(probeWdl(crowd, success), 0);
    EXPECT_EQ(success, noSuccess) << "more men than any table has";
}

TEST(tableProbe, onlySanePositionsAreValid)
{
    struct sanityCase
    {
        const char *what, *name;
        int first, second, third;
        bool valid = false;
    };
    const sanityCase cases[] = {{"sane", "KQvK", a1, b3, e5, true},
                                {"the side not to move in check", "KQvK", a1, b2, e5},
                                {"kings side by side", "KQvK", d4, a8, e5},
                                {"a pawn on the last rank", "KPvK", a1, b8, e5},
                                {"a pawn on the first rank", "KPvK", a1, b1, e5},
                                {"two kings", "KKvK", a1, c1, e5},
                                {"no king", "QvKN", a1, e5, a7},
                                {"two men on a square", "KQvK", a1, a1, e5},
                                {"men of both colours on a square", "KQvK", a1, e5, e5}};
    for (const sanityCase &c : cases)
        EXPECT_EQ(tbValid(toTbPosition(threeMen(c.name, c.first, c.second, c.third))), c.valid) << c.what;
    EXPECT_TRUE(tbValid(toTbPosition(threeMen("KQvK", a1, b2, e5, black)))) << "the side to move in check";
}

} // namespace tarvonel

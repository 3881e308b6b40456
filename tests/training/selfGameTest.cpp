// Games of the engine against itself, and which of their positions are learnt from.

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"
#include "eval/evaluate.h"
#include "games/rescoredGame.h"
#include "games/selfGame.h"
#include "games/selfSearch.h"
#include "games/unevenStarts.h"
#include "learning/trainingData.h"
#include "search/worker.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{
namespace
{

class selfGameTest : public testing::Test
{
  protected:
    selfGameTest() { networkLimit = 0; }
    ~selfGameTest() override { networkLimit = defaultNetworkLimit; }

    storedGame play(const selfPlayPlan &plan, std::uint64_t seed)
    {
        randomSource source(seed);
        std::optional<storedGame> game;
        while (!game)
            game = playSelfGame(*board, plan, source);
        return *game;
    }

    searchResources resources{1, 1};
    randomSource random{3};
    variantScope variant{true};
    std::unique_ptr<posWithMoves> board = std::make_unique<posWithMoves>();
};

TEST_F(selfGameTest, gamesAreLegalReproducibleAndLearntFrom)
{
    const temporaryDirectory directory;
    const std::string path = directory / "games";
    gameWriter writer;
    openForAppending(writer, path);
    for (const bool quick : {true, false})
    {
        selfPlayPlan plan;
        plan.quick = quick;
        plan.limits = {.softNodes = 100, .hardNodes = 400};
        plan.opening.chess960Share = 0.5;
        plan.unevenShare = 0.3;
        for (std::uint64_t seed = 1; seed <= 6; ++seed)
        {
            const storedGame game = play(plan, seed);
            EXPECT_GT(game.moves.size(), 0U);
            appendGame(writer, game);
        }
    }
    closeWriter(writer);
    trainingData data;
    threadPool pool(2);
    openData(data, {path}, {}, 1000000, pool);
    EXPECT_EQ(data.games, 12U);
    EXPECT_EQ(data.badGames, 0U);
    EXPECT_EQ(data.positions, writer.summary.positions);
    EXPECT_GT(data.passPositions, data.positions / 20);
    EXPECT_LT(data.passPositions, data.positions);
    std::vector<trainingPosition> positions;
    readChunks(positions, data, std::vector<std::uint32_t>{0}, {}, {}, pool);
    EXPECT_EQ(positions.size(), data.passPositions);
    closeData(data);
    EXPECT_THROW(openData(data, {directory / "none"}, {}, 1000000, pool), std::runtime_error);
}

TEST_F(selfGameTest, aGameIsTheSameOnABoardThatHasBeenUsed)
{
    for (const bool quick : {false, true})
    {
        selfPlayPlan plan;
        plan.quick = quick;
        plan.limits = {.softNodes = 100, .hardNodes = 400};
        const std::vector<std::uint8_t> game = encodeGame(play(plan, 3));
        for (int i = 0; i < 10; ++i)
            drawUnevenStart(*board, random);
        EXPECT_EQ(encodeGame(play(plan, 3)), game);
    }
}

TEST_F(selfGameTest, rescoredGamesKeepTheirMovesAndHoldDeeperScoresAlone)
{
    selfPlayPlan shallow;
    shallow.limits = {.softNodes = 50, .hardNodes = 200};
    const storedGame game = play(shallow, 1);
    rescorePlan plan{.share = 1, .filter = {.firstPly = 20}, .nodes = 500};
    storedGame rescored = game;
    const std::size_t scores = rescoreGame(rescored, *board, plan, random);
    EXPECT_GT(scores, 10U);

    ASSERT_EQ(unpackStart(game.start, *board), "");
    std::size_t found = 0, changed = 0;
    for (std::size_t i = 0; i < game.moves.size(); ++i)
    {
        const moveCode move = unpackMove(game.moves[i].move);
        EXPECT_EQ(rescored.moves[i].move, game.moves[i].move);
        if (rescored.moves[i].score != unscored)
        {
            EXPECT_GE(game.earlierPlies + static_cast<int>(i), 20);
            EXPECT_TRUE(isSuitable(board->position, move, game.moves[i].score, plan.filter)) << i;
            changed += rescored.moves[i].score != game.moves[i].score ? 1 : 0;
            ++found;
        }
        playGameMove(board->position, move);
    }
    EXPECT_EQ(found, scores);
    EXPECT_GT(changed, scores / 2);

    plan.share = 0.2;
    storedGame sampled = game;
    const std::size_t fewer = rescoreGame(sampled, *board, plan, random);
    EXPECT_LT(fewer, scores / 2);

    plan.share = 1;
    storedGame broken = game;
    const std::size_t half = game.moves.size() / 2;
    broken.moves[half].move = packMove(encodeMove(a1, a1, 0));
    rescoreGame(broken, *board, plan, random);
    for (std::size_t i = 0; i < game.moves.size(); ++i)
        EXPECT_EQ(broken.moves[i].score, i < half ? rescored.moves[i].score : unscored) << i;
}

TEST_F(selfGameTest, aVariationLeadsFromThePlayedGameToAScoredQuietPosition)
{
    selfPlayPlan shallow;
    shallow.limits = {.softNodes = 50, .hardNodes = 200};
    const storedGame game = play(shallow, 1);
    const rescorePlan plan{.filter = {.firstPly = 20}, .nodes = 500, .variationNodes = 200};
    std::size_t lines = 0, plies = 0;
    for (int i = 0; i < 20; ++i)
    {
        const storedGame line = scoreVariation(game, *board, plan, random);
        if (line.moves.empty())
            continue;
        EXPECT_GE(line.earlierPlies, 20);
        ASSERT_EQ(unpackStart(game.start, *board), "");
        for (int ply = game.earlierPlies; ply < line.earlierPlies; ++ply)
            playGameMove(board->position, unpackMove(game.moves[ply - game.earlierPlies].move));
        EXPECT_TRUE(std::ranges::equal(packStart(board->position).board, line.start.board));
        for (const storedMove &stored : line.moves)
        {
            const moveCode move = unpackMove(stored.move);
            ASSERT_TRUE(isLegal(*board, move));
            EXPECT_EQ(&stored == &line.moves.back(), isSuitable(board->position, move, stored.score, plan.filter));
            playGameMove(board->position, move);
        }
        ++lines;
        plies += line.moves.size() - 1;
    }
    EXPECT_GT(lines, 4U);
    EXPECT_GT(plies, lines);
    EXPECT_EQ(unpackStart(scoreVariation(game, *board, {.filter = {.firstPly = 10'000}}, random).start, *board), "");
}

TEST_F(selfGameTest, middlegameNodesReplaceBothLimits)
{
    selfPlayPlan deep;
    deep.limits = {.softNodes = 500, .hardNodes = 2000};
    selfPlayPlan mixed;
    mixed.limits = {.softNodes = 50, .hardNodes = 200};
    mixed.middlegameNodes = 500;
    for (const std::uint64_t seed : {1, 2, 3})
    {
        const storedGame expected = play(deep, seed);
        const storedGame game = play(mixed, seed);
        EXPECT_EQ(game.moves[0].move, expected.moves[0].move);
        EXPECT_EQ(game.moves[0].score, expected.moves[0].score);
        EXPECT_NE(encodeGame(game), encodeGame(expected)) << "the ending has fewer nodes";
    }
}

TEST_F(selfGameTest, onlySuitablePositionsGetAllNodes)
{
    selfPlayPlan shallow;
    shallow.limits = {.softNodes = 50, .hardNodes = 200};
    shallow.openingLimit = 32000;
    shallow.longestGame = 1; // one move after the opening
    selfPlayPlan mixed = shallow;
    mixed.limits = {.softNodes = 1000, .hardNodes = 4000};
    mixed.unsuitableNodes = 50;
    int suitable = 0, changed = 0;
    for (std::uint64_t seed = 1; seed <= 80; ++seed)
    {
        const bool isOpening = seed % 2 == 0;
        shallow.opening.fewestPlies = mixed.opening.fewestPlies = isOpening ? 8 : 20;
        const storedGame game = play(shallow, seed);
        const storedMove first = game.moves[0];
        const int newScore = play(mixed, seed).moves[0].score;
        ASSERT_EQ(unpackStart(game.start, *board), "");
        if (isOpening || !isSuitable(board->position, unpackMove(first.move), first.score, {}))
        {
            EXPECT_EQ(newScore, first.score) << seed;
            continue;
        }
        ++suitable;
        changed += newScore != first.score ? 1 : 0;
    }
    EXPECT_GT(suitable, 5);
    EXPECT_GT(changed, suitable / 2);
}

TEST_F(selfGameTest, gamesGoToTheSideThatLeadsOrMates)
{
    const struct
    {
        std::string fen;
        int whitePoints;
    } cases[] = {
        {"3qk3/pp6/8/8/8/8/PPPPPPPP/QRRQK3 w - - 0 1", 2},
        {"3qk3/pp6/8/8/8/8/PPPPPPPP/QRRQK3 b - - 0 1", 2},
        {"qrrqk3/pppppppp/8/8/8/8/PP6/3QK3 w - - 0 1", 0},
        {"qrrqk3/pppppppp/8/8/8/8/PP6/3QK3 b - - 0 1", 0},
    };
    for (const bool quick : {true, false})
        for (const auto &each : cases)
        {
            selfPlayPlan plan;
            plan.quick = quick;
            plan.limits = {.softNodes = 50, .hardNodes = 200};
            plan.opening.book = std::span(&each.fen, 1);
            plan.opening.fewestPlies = 0;
            EXPECT_FALSE(playSelfGame(*board, plan, random).has_value() && !quick) << each.fen << ": out of balance";
            plan.openingLimit = 32000;
            plan.winPlies = 1;
            const storedGame game = play(plan, 1);
            EXPECT_EQ(game.whitePoints, each.whitePoints) << each.fen;
            EXPECT_LE(game.moves.size(), quick ? 4U : 1U) << "decided by the first score";
            if (quick)
                continue;
            plan.winPlies = plan.longestGame; // never: the game goes on to mate
            const int points = play(plan, 1).whitePoints;
            EXPECT_EQ(endOfGame(*board, legalMoves(*board)), gameEnd::checkmate) << each.fen;
            EXPECT_EQ(points, board->position.sideToMove == white ? 0 : 2) << each.fen;
        }
}

TEST_F(selfGameTest, endingsAreAdjudicatedByScoreMaterialAndProgress)
{
    const struct
    {
        const char *fen;
        int whiteScore;
        std::optional<int> whitePoints;
        int plies; ///< of this score in a row, the last of which ends the game
    } cases[] = {
        {"4k3/8/8/8/8/8/8/R3K3 w - - 0 1", 700, 2, 4},
        {"r3k3/8/8/8/8/8/8/4K3 w - - 0 1", -700, 0, 4},
        {"4kr2/8/8/8/8/8/8/Q3K3 w - - 0 1", 700, std::nullopt, 30}, // queen against rook
        {"4kr2/8/8/8/8/8/8/RN2K3 b - - 0 1", 700, std::nullopt, 30},
        {"4kr2/8/8/8/8/8/P7/RN2K3 b - - 0 1", 700, 2, 4},
        {"4kb2/8/8/8/8/8/8/1N2K3 w - - 0 1", 700, 1, 1},
        {"4k3/8/8/8/8/8/8/BB2K3 w - - 0 1", 700, 2, 4}, // two bishops mate
        {"4k3/8/8/8/8/8/8/BB2K3 w - - 0 1", 500, std::nullopt, 30},
        {"4kr2/p7/8/8/8/8/P7/R3K3 w - - 0 1", 20, 1, 8},
        {"4kr2/p7/8/8/8/8/P7/R3K3 w - - 0 1", 21, std::nullopt, 30},
        {"4kr2/ppp5/8/8/8/8/PPP5/R3K3 w - - 0 1", 20, std::nullopt, 30},
        {"4kr2/ppp5/8/8/8/8/PPP5/R3K3 w - - 24 30", -100, 1, 16},
        {"4kr2/ppp5/8/8/8/8/PPP5/R3K3 w - - 24 30", 101, std::nullopt, 30},
        {"4kr2/ppp5/8/8/8/8/PPP5/R3K3 w - - 0 1", 8, std::nullopt, 30}, // before ply 80
    };
    for (const auto &each : cases)
    {
        ASSERT_EQ(setupPlayablePosition(each.fen, board->position), "") << each.fen;
        gameTrend trend;
        std::optional<int> points;
        int ply = 0;
        while (ply < each.plies && !points)
            points = adjudicate(trend, {}, board->position, each.whiteScore, 40 + ply++);
        EXPECT_EQ(points, each.whitePoints) << each.fen << " " << each.whiteScore;
        EXPECT_EQ(ply, each.plies) << each.fen << " " << each.whiteScore;
    }
}

/// Where bishops and pawns alone remain: bishops of opposite colours, or one that does not control the corner
/// where its own pawns promote.
void expectBishopsToBeWrong(const pos &position)
{
    const auto piecesOf = [&](int type)
    { return position.bitboards[pieceOf(type, white)] | position.bitboards[pieceOf(type, black)]; };
    const bitboard bishops = piecesOf(bishop);
    if (bishops == 0 || occupancy(position) != (bishops | piecesOf(pawn) | piecesOf(king)))
        return;
    const auto isOnLight = [](bitboard square) { return (square & lightSquares) != 0; };
    const bitboard ofWhite = position.bitboards[whiteBishop], ofBlack = position.bitboards[blackBishop];
    if (ofWhite != 0 && ofBlack != 0)
        EXPECT_NE(isOnLight(ofWhite), isOnLight(ofBlack)) << fenOf(position, true, 1);
    else
        for (bitboard pawns = position.bitboards[ofWhite != 0 ? whitePawn : blackPawn]; pawns != 0;)
        {
            const int corner = fileOf(popLowest(pawns)) + (ofWhite != 0 ? a8 : a1);
            EXPECT_NE(isOnLight(bishops), isOnLight(bit(corner))) << fenOf(position, true, 1);
        }
}

TEST_F(selfGameTest, quickMovesTakeWhatHangs)
{
    ASSERT_EQ(setupPlayablePosition("4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1", board->position), "");
    const std::vector<moveCode> moves = legalMoves(*board);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(sameMove(sampledMove(board->position, moves, 1, random), findMove(*board, moves, "e4d5")));
}

TEST_F(selfGameTest, noGameStartsOverOrGoesOnWithoutMatingMaterial)
{
    const struct
    {
        std::string fen;
        gameEnd end;
    } cases[] = {
        {"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", gameEnd::stalemate},  {"7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", gameEnd::checkmate},
        {"7k/8/6K1/8/8/8/8/8 b - - 0 1", gameEnd::material},     {"7k/8/6K1/8/8/8/8/N7 b - - 0 1", gameEnd::material},
        {"7k/5b2/6K1/8/8/8/8/1B6 w - - 0 1", gameEnd::material}, // bishops on squares of one colour
        {"7k/5b2/6K1/8/8/8/8/2B5 w - - 0 1", gameEnd::none},     {"7k/8/6K1/8/8/8/8/BB6 b - - 0 1", gameEnd::none},
        {"7k/8/6K1/8/8/8/8/bb6 w - - 0 1", gameEnd::none},       {"7k/8/6K1/8/8/8/8/NN6 b - - 0 1", gameEnd::none},
        {"7k/8/6K1/8/8/8/8/BN6 b - - 0 1", gameEnd::none},       {"7k/5n2/6K1/8/8/8/8/N7 w - - 0 1", gameEnd::none},
        {"7k/5p2/6K1/8/8/8/8/8 w - - 0 1", gameEnd::none},
    };
    for (const auto &each : cases)
    {
        ASSERT_EQ(setupPlayablePosition(each.fen, board->position), "") << each.fen;
        EXPECT_EQ(endOfGame(*board, legalMoves(*board)), each.end) << each.fen;
        openingPlan plan;
        plan.book = std::span(&each.fen, 1);
        plan.fewestPlies = 0;
        for (int i = 0; i < 20 && each.end != gameEnd::none; ++i)
            EXPECT_LT(drawOpening(*board, plan, random), 0) << each.fen;
    }
    int endings = 0;
    int middlegames = 0;
    for (int i = 0; i < 300; ++i)
    {
        drawUnevenStart(*board, random);
        ASSERT_TRUE(isPlayable(board->position));
        EXPECT_EQ(endOfGame(*board, legalMoves(*board)), gameEnd::none);
        EXPECT_EQ(board->position.info[0].inCheck, 0);
        expectBishopsToBeWrong(board->position);
        endings += popCount(occupancy(board->position)) <= 6 ? 1 : 0;
        middlegames += board->position.phase >= 12 ? 1 : 0;
    }
    EXPECT_GT(endings, 50);
    EXPECT_GT(middlegames, 15);
}

TEST_F(selfGameTest, onlyQuietBalancedPositionsAreLearntFrom)
{
    struct filterCase
    {
        const char *fen, *move;
        int score;
        bool isTaken;
    };
    const filterCase cases[] = {
        {"4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1", "a2a4", 20, true},
        {"4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1", "a2a4", unscored, false},
        {"4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1", "a2a4", 3001, false},
        {"4k3/pppp4/8/8/1p6/P7/1PPP4/4K3 w - - 0 1", "a3b4", 20, false},
        {"4k3/pppp4/8/8/8/8/PPPP3r/4K3 w - - 0 1", "e1d1", -20, false},
        {"4k3/P3pppp/8/8/8/8/5PPP/4K3 w - - 0 1", "a7a8q", 20, false},
        {"4k3/pppp4/8/8/8/8/PPPP4/R3K2R w HA - 0 1", "e1h1", 20, false},
        {"r3k2r/pppp4/8/8/8/8/PPPP4/R3K2R w HAha - 0 1", "e1h1", 20, true},
        {"4k3/pppp4/8/8/8/8/PPPP3r/R3K3 w A - 0 1", "a2a4", 20, true},
    };
    for (const filterCase &each : cases)
    {
        ASSERT_EQ(setupPlayablePosition(each.fen, board->position), "") << each.fen;
        const moveCode move = findMove(*board, legalMoves(*board), each.move);
        ASSERT_NE(move, noMove) << each.fen;
        EXPECT_EQ(isSuitable(board->position, move, each.score, {}), each.isTaken) << each.fen << " " << each.move;
    }
}

} // namespace
} // namespace tarvonel

// Files of games: what they hold comes back, and damage costs no more than what it hits.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "board/chess960.h"
#include "board/makeMove.h"
#include "board/setup.h"
#include "games/gameFile.h"
#include "movegen/randomOpening.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{
namespace
{

class gameFileTest : public testing::Test
{
  protected:
    /// A game of random moves from a random start, with scores that tell plies apart.
    storedGame randomGame(int plies)
    {
        storedGame game;
        do
        {
            game.earlierPlies = drawOpening(*board, {8, 0.5, {}}, random);
        } while (game.earlierPlies < 0);
        game.start = packStart(board->position);
        game.whitePoints = static_cast<int>(random() % 3);
        for (int ply = 0; ply < plies; ++ply)
        {
            const std::vector<moveCode> moves = legalMoves(*board);
            if (moves.empty())
                break;
            const moveCode move = randomMove(moves, random);
            game.moves.push_back({packMove(move), static_cast<std::int16_t>(ply % 2 == 0 ? -ply * 7 : unscored)});
            playGameMove(board->position, move);
        }
        return game;
    }

    void append(const storedGame &game) const
    {
        gameWriter writer;
        ASSERT_EQ(openForAppending(writer, path), "");
        ASSERT_TRUE(appendGame(writer, game));
        closeWriter(writer);
    }

    std::vector<storedGame> readAll(gameFileSummary &summary) const
    {
        std::vector<storedGame> games;
        gameReader reader;
        EXPECT_TRUE(openGames(reader, path));
        for (storedGame game; nextGame(reader, game);)
            games.push_back(game);
        summary = reader.summary;
        closeGames(reader);
        return games;
    }

    temporaryDirectory directory;
    std::string path = directory / "games";
    randomSource random{17};
    variantScope variant{true};
    std::unique_ptr<gameBoard> board = std::make_unique<gameBoard>();
};

void expectEqual(const storedGame &left, const storedGame &right)
{
    EXPECT_EQ(encodeGame(left), encodeGame(right));
    EXPECT_EQ(left.whitePoints, right.whitePoints);
    EXPECT_TRUE(std::ranges::equal(left.moves, right.moves,
                                   [](const auto &one, const auto &other)
                                   { return one.move == other.move && one.score == other.score; }));
}

TEST_F(gameFileTest, startPositionsComeBackWhole)
{
    const auto copy = std::make_unique<gameBoard>();
    for (int i = 0; i < 200; ++i)
    {
        if (drawOpening(*board, {i % 30, 0.5, {}}, random) < 0)
            continue;
        ASSERT_EQ(unpackStart(packStart(board->position), *copy), "");
        EXPECT_EQ(copy->position.key, board->position.key);
        EXPECT_EQ(fenOf(copy->position, true, 1), fenOf(board->position, true, 1));
    }
}

TEST_F(gameFileTest, gamesComeBackInFourBytesAPosition)
{
    std::vector<storedGame> games;
    for (const int plies : {0, 1, 90, 200})
    {
        games.push_back(randomGame(plies));
        append(games.back());
    }
    gameFileSummary summary;
    const std::vector<storedGame> read = readAll(summary);
    ASSERT_EQ(read.size(), games.size());
    for (std::size_t i = 0; i < games.size(); ++i)
        expectEqual(read[i], games[i]);
    EXPECT_EQ(summary.soundEnd, std::filesystem::file_size(path));
    EXPECT_EQ(summary.soundEnd, games.size() * 54 + summary.positions * 4);
}

TEST_F(gameFileTest, aCutAnywhereInARecordCostsThatRecordAlone)
{
    const storedGame first = randomGame(20);
    const storedGame second = randomGame(6);
    const std::size_t firstSize = encodeGame(first).size();
    const std::size_t secondSize = encodeGame(second).size();
    for (std::size_t kept = 0; kept < secondSize; ++kept)
    {
        SCOPED_TRACE(kept);
        std::filesystem::remove(path);
        append(first);
        append(second);
        std::filesystem::resize_file(path, firstSize + kept);
        gameFileSummary summary;
        ASSERT_EQ(readAll(summary).size(), 1U);
        EXPECT_EQ(summary.damagedBytes, kept);

        append(second);
        const std::vector<storedGame> games = readAll(summary);
        ASSERT_EQ(games.size(), 2U);
        expectEqual(games[1], second);
        EXPECT_EQ(summary.damagedBytes, 0U);
    }
}

TEST_F(gameFileTest, damageInTheMiddleIsPassedOver)
{
    const storedGame games[] = {randomGame(30), randomGame(30), randomGame(30)};
    for (const storedGame &game : games)
        append(game);
    const std::size_t first = encodeGame(games[0]).size();
    const std::size_t second = encodeGame(games[1]).size();
    for (const std::size_t hit : {first, first + 5, first + 20, first + second - 1})
    {
        const auto flip = [&]
        {
            std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
            const int before = file.seekg(static_cast<std::streamoff>(hit)).get();
            file.seekp(static_cast<std::streamoff>(hit)).put(static_cast<char>(before ^ 0x40));
        };
        flip();
        gameFileSummary summary;
        const std::vector<storedGame> read = readAll(summary);
        ASSERT_EQ(read.size(), 2U) << hit;
        expectEqual(read[1], games[2]);
        EXPECT_EQ(summary.damagedBytes, second);
        flip();
    }
}

TEST_F(gameFileTest, filesThatCannotBeUsedAreRefused)
{
    gameReader reader;
    EXPECT_FALSE(openGames(reader, path));
    EXPECT_EQ(summariseGames(path).games, 0U);
    gameWriter writer;
    EXPECT_NE(openForAppending(writer, "/no/such/folder/games"), "");
    storedStart start = packStart(board->position);
    EXPECT_NE(unpackStart(start, *board), "") << "no kings";
    start.board[0] = 0xFE;
    EXPECT_NE(unpackStart(start, *board), "") << "no such piece";
}

TEST(chess960Fen, numbersTheStartsAsTheOracleDoes)
{
    for (int number = 0; number < chess960Starts; ++number)
        EXPECT_EQ(chess960Fen(number).substr(0, 9), startFen960(number).substr(0, 9));
    EXPECT_EQ(chess960Fen(518), "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
}

} // namespace
} // namespace tarvonel

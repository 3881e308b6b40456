// Files of games, our own and PGN: games survive the round trip, and damage costs only the game it hits.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"
#include "games/gameFile.h"
#include "games/pgn.h"
#include "games/pgnReader.h"
#include "loop/gameFolder.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"
#include "uci/randomOpening.h"

namespace tarvonel
{
namespace
{

class gameFileTest : public testing::Test
{
  protected:
    /// A game of random moves from a random start, every other ply with its own score; in `text` as PGN.
    storedGame randomGame(int plies)
    {
        storedGame game;
        while (drawOpening(*board, {8, 0.5, {}}, random) < 0)
            continue;
        game.earlierPlies = 8 + board->position.sideToMove;
        const std::string fen = fenOf(board->position, true, 5);
        EXPECT_EQ(setupPlayablePosition(fen, board->position), "");
        game.start = packStart(board->position);
        EXPECT_EQ(unpackStart(game.start, *board), "");
        EXPECT_EQ(fenOf(board->position, true, 5), fen);
        game.whitePoints = static_cast<int>(random() % 3);
        text = {{{"FEN", fen}, {"Result", results[game.whitePoints]}}, results[game.whitePoints], {}};
        for (int ply = 0; ply < plies; ++ply)
        {
            const std::vector<moveCode> moves = legalMoves(*board);
            if (moves.empty())
                break;
            const moveCode move = randomMove(moves, random);
            const bool isScored = ply % 2 == 0;
            game.moves.push_back({packMove(move), static_cast<std::int16_t>(isScored ? -ply * 10 : unscored)});
            text.moves.push_back({shortNotation(*board, moves, move),
                                  isScored ? "-" + std::to_string(ply / 10.0) + "/12 0.5s" : "book"});
            playGameMove(board->position, move);
        }
        return game;
    }

    void append(const storedGame &game) const
    {
        gameWriter writer;
        openForAppending(writer, path);
        appendGame(writer, game);
        closeWriter(writer);
    }

    /// Expects that the file holds these games and this many bytes outside them.
    void expectGames(const std::vector<storedGame> &games, std::uint64_t damagedBytes) const
    {
        gameReader reader;
        ASSERT_TRUE(openGames(reader, path));
        storedGame game;
        for (const storedGame &expected : games)
        {
            ASSERT_TRUE(nextGame(reader, game));
            EXPECT_EQ(encodeGame(game), encodeGame(expected));
        }
        EXPECT_FALSE(nextGame(reader, game));
        EXPECT_EQ(reader.summary.damagedBytes, damagedBytes);
        closeGames(reader);
    }

    static constexpr const char *results[] = {"0-1", "1/2-1/2", "1-0"};
    temporaryDirectory directory;
    std::string path = directory / "games";
    randomSource random{17};
    variantScope variant{true};
    std::unique_ptr<posWithMoves> board = std::make_unique<posWithMoves>();
    pgnGame text;
};

TEST_F(gameFileTest, gamesComeBackAndACutCostsTheLastAlone)
{
    const std::vector<storedGame> games = {randomGame(0), randomGame(200), randomGame(6)};
    const std::size_t lastSize = encodeGame(games[2]).size();
    for (const storedGame &game : games)
        append(game);
    expectGames(games, 0);
    const std::uintmax_t size = std::filesystem::file_size(path);
    for (std::size_t cut = 1; cut <= lastSize; ++cut)
    {
        std::filesystem::resize_file(path, size - cut);
        expectGames({games[0], games[1]}, lastSize - cut);
        append(games[2]);
        expectGames(games, 0);
    }
}

TEST_F(gameFileTest, aGrowingFolderIsCountedOnce)
{
    gameCounter counter{directory.path, {}};
    std::uint64_t positions = 0;
    for (const int plies : {40, 20})
    {
        const storedGame game = randomGame(plies);
        append(game);
        positions += game.moves.size();
        countNewGames(counter);
        countNewGames(counter);
        EXPECT_EQ(newPositions(counter, {}), positions);
        EXPECT_EQ(newPositions(counter, {{"games", 10, true}}), positions - 10);
    }
    path = directory / "older";
    append(randomGame(30));
    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) - std::chrono::hours(1));
    countNewGames(counter);
    for (const std::uint64_t window : {positions, positions + 1})
    {
        const std::vector<gamesFile> files = newestFiles(counter, window);
        ASSERT_EQ(files.size(), 2U);
        EXPECT_EQ(files[0].name, "games");
        EXPECT_TRUE(files[0].isInWindow);
        EXPECT_EQ(files[1].isInWindow, window > positions);
    }
    std::filesystem::remove(path);
    countNewGames(counter);
    EXPECT_EQ(newPositions(counter, {}), positions);
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
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        const int before = file.seekg(static_cast<std::streamoff>(hit)).get();
        const auto put = [&](int byte)
        { file.seekp(static_cast<std::streamoff>(hit)).put(static_cast<char>(byte)).flush(); };
        put(before ^ 0x40);
        expectGames({games[0], games[2]}, second);
        put(before);
    }
}

TEST_F(gameFileTest, filesThatCannotBeUsedAreRefusedAndStay)
{
    gameReader reader;
    EXPECT_FALSE(openGames(reader, path));
    gameWriter writer;
    EXPECT_THROW(openForAppending(writer, "/no/such/folder/games"), std::runtime_error);
    std::ofstream(path) << "Dear diary";
    EXPECT_THROW(openForAppending(writer, path), std::runtime_error);
    EXPECT_EQ(std::filesystem::file_size(path), 10U);
    storedStart start = packStart(board->position);
    EXPECT_NE(unpackStart(start, *board), "") << "no kings";
    start.board[0] = 0xFE;
    EXPECT_NE(unpackStart(start, *board), "") << "no such piece";
}

TEST_F(gameFileTest, aKnownGameHasTheseBytes)
{
    std::istringstream stream("[Result \"0-1\"]\n\n1. f3 {+0.20/3 0.1s} e5 {-0.50/3} 2. g4 {-M2/3} Qh4# {+M1/3} 0-1\n");
    pgnReader reader{stream};
    const std::optional<storedGame> game = nextPgnGame(reader, *board);
    ASSERT_TRUE(game.has_value());
    append(*game);
    std::ifstream file(path, std::ios::binary);
    std::string hexadecimal;
    for (char byte = 0; file.get(byte);)
        for (const int digit : {byte >> 4 & 15, byte & 15})
            hexadecimal += "0123456789abcdef"[digit];
    EXPECT_EQ(hexadecimal, "545647310400000048a66c842222222200000000000000000000000000000000"
                           "3333333359b77d95000f073f0038000000004d05140034d9ceff8ed70283fb07"
                           "ff7c6bc690f1");
}

TEST_F(gameFileTest, aFullDiskCostsOnlyTheGameBeingWritten)
{
    const storedGame games[] = {randomGame(40), randomGame(40)};
    append(games[0]);
    gameWriter writer;
    openForAppending(writer, path);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    for (const std::uint64_t room : {0, 1, 60})
    {
        const rlimit full = {writer.summary.soundEnd + room, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
        EXPECT_THROW(appendGame(writer, games[1]), std::runtime_error);
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
        EXPECT_EQ(std::filesystem::file_size(path), writer.summary.soundEnd);
    }
    std::signal(SIGXFSZ, oldHandler);
    appendGame(writer, games[1]);
    closeWriter(writer);
    expectGames({games[0], games[1]}, 0);
}

TEST_F(gameFileTest, aSecondWriterWaitsForTheFirst)
{
    const storedGame games[] = {randomGame(10), randomGame(20), randomGame(30)};
    gameWriter first;
    openForAppending(first, path);
    appendGame(first, games[0]);
    const std::future<void> second = std::async(std::launch::async, [&] { append(games[2]); });
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    appendGame(first, games[1]);
    closeWriter(first);
    second.wait();
    expectGames({games[0], games[1], games[2]}, 0);
}

TEST_F(gameFileTest, pgnHoldsTheSameGames)
{
    for (int i = 0; i < 60; ++i)
    {
        const storedGame game = randomGame(150);
        text.blackBegins = game.start.sideToMove == black;
        text.firstMoveNumber = 5;
        std::istringstream stream("[Event \"cut off\"]\n\n1. e4 {+0.1/2\n" + pgnText(text));
        pgnReader reader{stream};
        const std::optional<storedGame> read = nextPgnGame(reader, *board);
        ASSERT_TRUE(read.has_value()) << pgnText(text);
        EXPECT_EQ(encodeGame(*read), encodeGame(game)) << pgnText(text);
        EXPECT_FALSE(nextPgnGame(reader, *board).has_value());
        EXPECT_EQ(reader.leftOut, 1U);
    }
}

TEST_F(gameFileTest, notationDistinguishesPiecesByFileThenRankThenBoth)
{
    for (const auto &[fen, expected] : {std::pair{"4k3/8/8/8/8/8/8/1N2K3 w - - 0 1", "Nd2"},
                                        {"4k3/8/8/8/8/5N2/8/1N2K3 w - - 0 1", "Nbd2"},
                                        {"4k3/8/8/8/8/1N6/8/1N2K3 w - - 0 1", "N1d2"},
                                        {"4k3/8/8/8/8/1N6/8/1N2KN2 w - - 0 1", "Nb1d2"}})
    {
        ASSERT_EQ(setupPlayablePosition(fen, board->position), "");
        const std::vector<moveCode> moves = legalMoves(*board);
        EXPECT_EQ(shortNotation(*board, moves, findMove(*board, moves, "b1d2")), expected);
    }
}

TEST_F(gameFileTest, pgnOfOthersIsReadAndOnlyWholeLegalGamesAreTaken)
{
    const struct
    {
        const char *tags, *moves;
        std::size_t plies; ///< 0 if the game is left out
        int lastScore = unscored;
    } cases[] = {
        {"[Result \"1-0\"]", "1.e4 {book} e5 2. Qh5!? $1 Nc6 (2... g6 {a (}) 3.Bc4 Nge7 {-M2/9 1s} 4.Qxf7# {+M1/3} 1-0",
         7, 31999},
        {"[Result \"1/2-1/2\"]", "1. e2-e4 {-0.25/14 0.100s, n=12} ; x\n 1/2-1/2", 1, -25},
        {"[Result \"0-1\"]\r", "\r\n1. f3 e5\r\n2. g4 Qh4# {0.5/x 1/2-1/2} 0-1\r", 4},
        {"[Result \"1-0\"]\n[FEN \"8/P6k/8/8/8/8/8/K7 w - - 0 1\"]", "1. a8Q {+999.99/5} 1-0", 1, 30000},
        {"[Result \"1-0\"]\n[FEN \"4k3/8/8/8/8/8/8/4K2R w K - 0 1\"]", "1. 0-0 1-0", 1},
        {"[Result \"1-0\"]", "1. e4 e5", 0},
        {"[Result \"1-0\"]", "1. e4 0-1", 0},
        {"[Result \"*\"]", "1. e4 *", 0},
        {"[Result \"1-0\"]", "1. e5 1-0", 0},
        {"[Result \"1-0\"]", "1. Nd2 1-0", 0},
        {"[Result \"1-0\"]\n[FEN \"4k3/8/8/8/8/N7/8/N3K3 w - - 0 1\"]", "1. Nc2 1-0", 0},
        {"[Result \"1-0\"]\n[FEN \"no position\"]", "1. e4 1-0", 0},
        {"[Result \"1-0\"]\n[Termination \"time forfeit\"]", "1. e4 1-0", 0},
        {"[Result \"1-0\"]", "1. e4 e5 {White wins on time} 1-0", 0},
        {"[Result \"1-0\"]", "1. e4 {+0.10/5} {Black disconnects} 1-0", 0},
        {"[Result \"1-0\"]", "1. e4 1-0 {Time forfeit}", 0},
        {"[Result \"1-0\"]", "1. e4 {not illegal} e5 {White wins by adjudication} 1-0", 2},
    };
    for (const auto &known : cases)
    {
        std::string all = std::string(known.tags) + "\n\n" + known.moves + "\n";
        std::istringstream stream(all);
        pgnReader reader{stream};
        const std::optional<storedGame> game = nextPgnGame(reader, *board);
        EXPECT_EQ(game ? game->moves.size() : 0, known.plies) << all;
        EXPECT_EQ(game ? game->moves.back().score : unscored, known.lastScore) << all;
        for (int i = 0; i < 300; ++i) // damaged text: no crash, no hang
        {
            std::string damaged = all;
            for (int hits = 0; hits < 3; ++hits)
                damaged[random() % damaged.size()] =
                    static_cast<char>(i % 2 == 0 ? all[random() % all.size()] : random());
            std::istringstream other(damaged);
            pgnReader otherReader{other};
            while (nextPgnGame(otherReader, *board))
                continue;
        }
    }
}

} // namespace
} // namespace tarvonel

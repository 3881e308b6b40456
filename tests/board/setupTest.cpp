#include "board/setup.h"

#include <cstring>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "board/keys.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

struct fieldCase
{
    const char *what, *fen;
    bool chess960;
    int rights;
    int rooks[4]; ///< king's side white and black, queen's side white and black
    int enPassant, fifty, keys;
};

constexpr int nil = noSquare;

const fieldCase fieldCases[] = {
    {"placement and side alone", "8/8/8/8/8/8/8/K6k w", false, 0, {h1, h8, a1, a8}, 0, 0, 1},
    {"four fields", "4k3/8/8/4p3/8/8/8/4K3 w - e6", false, 0, {h1, h8, a1, a8}, e5, 0, 1},
    {"a seventh field", "4k3/8/8/8/8/8/8/4K3 w - - 3 4 bm Kd2", false, 0, {h1, h8, a1, a8}, 0, 3, 7},
    {"any other side is black", "4k3/8/8/8/8/8/8/4K3 x - - 0 1", false, 0, {h1, h8, a1, a8}, 0, 0, 2},
    {"KQkq without rooks", "4k3/8/8/8/8/8/8/4K3 w KQkq - 0 1", false, 15, {h1, h8, a1, a8}, 0, 0, 1},
    {"unknown castling letters", "4k3/8/8/8/8/8/8/4K3 w xK?! - 0 1", false, 1, {h1, h8, a1, a8}, 0, 0, 1},
    {"file letters in standard chess", "4k3/8/8/8/8/8/8/4K1R1 w G - 0 1", false, 1, {g1, h8, a1, a8}, 0, 0, 1},
    {"KQkq in 960", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", true, 15, {h1, h8, a1, a8}, 0, 0, 1},
    {"outermost rooks", "4k3/8/8/8/8/8/8/RKR1R3 w KQ - 0 1", true, 5, {e1, nil, a1, nil}, 0, 0, 1},
    {"rooks of other ranks", "7k/8/8/8/1R6/8/8/4K2R w KQ - 0 1", true, 5, {h1, nil, nil, nil}, 0, 0, 1},
    {"rooks of the other side", "rr2k3/8/8/8/8/8/8/R3K3 b Kkq - 0 1", true, 11, {nil, nil, nil, a8}, 0, 0, 2},
    {"one letter", "4k3/8/8/8/8/8/8/RK5R w A - 0 1", true, 4, {nil, nil, a1, nil}, 0, 0, 1},
    {"black letters", "1r2k2r/8/8/8/8/8/8/4K3 b bh - 0 1", true, 10, {nil, h8, nil, b8}, 0, 0, 2},
    {"en passant, black to move", "4k3/8/8/8/4P3/8/8/4K3 b - e3 0 1", false, 0, {h1, h8, a1, a8}, e4, 0, 2},
    {"en passant on trust", "4k3/8/8/8/8/8/8/4K3 w - e3 0 1", false, 0, {h1, h8, a1, a8}, e2, 0, 1},
    {"negative counters are numbers", "4k3/8/8/8/8/8/8/4K3 b - - -5 -3", false, 0, {h1, h8, a1, a8}, 0, -5, 1},
    {"a count far above the limit", "4k3/8/8/8/8/8/8/4K3 w - - 70000 1", false, 0, {h1, h8, a1, a8}, 0, 16383, 1},
    {"move number 300", "4k3/8/8/8/8/8/8/4K3 b - - 0 300", false, 0, {h1, h8, a1, a8}, 0, 0, 513},
    {"largest move number", "4k3/8/8/8/8/8/8/4K3 b - - 0 2147483647", false, 0, {h1, h8, a1, a8}, 0, 0, 513},
};

TEST(setupPosition, readsEveryField)
{
    for (const fieldCase &entry : fieldCases)
    {
        SCOPED_TRACE(entry.what);
        const variantScope variant(entry.chess960);
        ownedPosition position(startPositionFen);
        position->accumulatorBlocks[0].computed = true;
        std::memset(position->castleRook, c3, sizeof position->castleRook);
        std::memset(position->keyHistory, 0xFF, sizeof position->keyHistory);
        ASSERT_EQ(setupPosition(entry.fen, *position), "");
        EXPECT_EQ(position->info[0].castling, entry.rights);
        EXPECT_EQ(position->castleRook[kingSide][white], entry.rooks[0]);
        EXPECT_EQ(position->castleRook[kingSide][black], entry.rooks[1]);
        EXPECT_EQ(position->castleRook[queenSide][white], entry.rooks[2]);
        EXPECT_EQ(position->castleRook[queenSide][black], entry.rooks[3]);
        EXPECT_EQ(position->info[0].enPassant, entry.enPassant);
        EXPECT_EQ(position->fiftyCount, entry.fifty);
        ASSERT_EQ(position->keyCount, entry.keys);
        EXPECT_EQ(position->keyHistory[entry.keys - 1], position->key);
        for (int index = 0; index < entry.keys - 1; ++index)
            EXPECT_EQ(position->keyHistory[index], 0U);
        EXPECT_FALSE(position->accumulatorBlocks[0].computed);
    }
}

struct refusedText
{
    const char *fen, *reasonPart;
};

const refusedText refusedTexts[] = {
    {"", "missing"},
    {"4k3/8/8/8/8/8/8/4K3", "missing"},
    {" 4k3/8/8/8/8/8/8/4K3 w", "eight"},
    {"4k3/8/8/8/8/8/8/4KX2 w - - 0 1", "letter"},
    {"4k3/8/8/8/8/8/8/4K4 w - - 0 1", "eight"},
    {"4k3/8/8/8/8/8/4K3 w - - 0 1", "eight"},
    {"4k3/8/8/8/8/8/8/4K09 w - - 0 1", "letter"},
    {"8/8/8/8/8/8/8/4K3 w - - 0 1", "black king"},
    {"4k3/8/8/8/8/8/8/8 w - - 0 1", "white king"},
    {"4k3/8/8/8/8/8/8/4K2K w - - 0 1", "white king"},
    {"4k2P/8/8/8/8/8/8/4K3 w - - 0 1", "pawn"},
    {"4k3/8/8/8/8/N7/NNNNNNNN/NNNNKNNN w - - 0 1", "16 white"},
    {"4k3/8/8/8/8/8/8/4K3 w - e 0 1", "en passant"},
    {"4k3/8/8/8/8/8/8/4K3 w - e1 0 1", "en passant"},
    {"4k3/8/8/8/8/8/8/4K3 w - - x 1", "number"},
    {"4k3/8/8/8/8/8/8/4K3 w - - 5 -", "number"},
};

TEST(setupPosition, refusesBeforeItTouchesThePosition)
{
    for (const refusedText &refused : refusedTexts)
    {
        ownedPosition position(startPositionFen);
        const std::string before = bytesOf(*position);
        const std::string fault = setupPosition(refused.fen, *position);
        EXPECT_NE(fault.find(refused.reasonPart), std::string::npos) << refused.fen << ": " << fault;
        EXPECT_EQ(fault.find('\n'), std::string::npos);
        EXPECT_TRUE(bytesOf(*position) == before) << refused.fen;
    }
}

TEST(setupPosition, sumsCountEveryPieceOnce)
{
    ownedPosition position("4k2q/8/8/8/8/8/P7/RN2K3 w - - 0 1");
    EXPECT_EQ(position->material[white], X(82 + 353 + 487, 94 + 365 + 644));
    EXPECT_EQ(position->material[black], X(1158, 1207));
    EXPECT_EQ(position->phase, 2 + 1 + 4);
    // Rook a1, knight b1, pawn a2 and king e1 by white's view; queen h8 and king e8 by black's.
    EXPECT_EQ(position->squareScore[white], X(-9 - 13 - 4 + 2, -2 - 34 + 5 - 33));
    EXPECT_EQ(position->squareScore[black], X(1 + 2, -28 - 33));
}

struct rightsCase
{
    const char *what, *fen;
    bool chess960;
    int rights, enPassant;
};

const rightsCase rightsCases[] = {
    {"all valid", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", false, 15, 0},
    {"king on d1", "r3k2r/8/8/8/8/8/8/R2K3R w KQkq - 0 1", false, 10, 0},
    {"enemy rook", "4k3/8/8/8/8/8/8/r3K2R w KQ - 0 1", false, 1, 0},
    {"960: rook on another rank", "4k2r/8/8/8/8/7R/8/1K6 w Kk - 0 1", true, 2, 0},
    {"960: rook on the king's rank and another", "7k/8/8/8/1R6/8/8/4K2R w K - 0 1", true, 1, 0},
    {"960: right of the king only", "4k3/8/8/8/8/8/8/RK6 w K - 0 1", true, 0, 0},
    {"960: letter without rook", "4k3/8/8/8/8/8/8/1K5R w GH - 0 1", true, 1, 0},
    {"step made, nobody to use it", "4k3/8/8/8/4P3/8/8/4K3 b - e3 0 1", false, 0, e4},
    {"no pawn there", "4k3/8/8/8/8/8/8/4K3 b - e3 0 1", false, 0, 0},
    {"wrong rank", "4k3/8/8/8/8/4P3/8/4K3 b - e2 0 1", false, 0, 0},
    {"step over a piece", "4k3/8/8/8/4P3/4N3/8/4K3 b - e3 0 1", false, 0, 0},
    {"step from an occupied square", "4k3/8/8/8/4P3/8/4P3/4K3 b - e3 0 1", false, 0, 0},
    {"black's step from an occupied square", "4k3/4q3/8/4p3/8/8/8/4K3 w - e6 0 1", false, 0, 0},
};

TEST(dropInvalidRights, keepsWhatTheBoardSupports)
{
    for (const rightsCase &entry : rightsCases)
    {
        SCOPED_TRACE(entry.what);
        const variantScope variant(entry.chess960);
        ownedPosition position(entry.fen);
        dropInvalidRights(*position);
        EXPECT_EQ(position->info[0].castling, entry.rights);
        EXPECT_EQ(position->info[0].enPassant, entry.enPassant);
        EXPECT_EQ(position->key, computeKey(*position));
        EXPECT_EQ(position->keyHistory[position->keyCount - 1], position->key);
    }
}

TEST(fenOf, writesWhatIsRead)
{
    for (const bool chess960 : {false, true})
        playRandomGames({.seed = 9, .games = 4, .plies = 120, .chess960 = chess960},
                        [](const pos &position, const bruteForce::letterBoard &board)
                        { EXPECT_EQ(fenOf(position, true, board.moveNumber), bruteForce::writeFen(board)); });
    const char *const rights = "r3k2r/8/8/8/8/8/8/R3K2R b Kq - 31 17";
    EXPECT_EQ(fenOf(*ownedPosition(rights), false, 17), rights);
}

TEST(chess960Fen, numbersAllStarts)
{
    std::set<std::string> starts;
    for (int number = 0; number < chess960Starts; ++number)
    {
        const std::string fen = chess960Fen(number);
        starts.insert(fen);
        const std::string row = fen.substr(0, 8);
        EXPECT_TRUE((row.find('b') + row.rfind('b')) % 2 == 1 && row.find('r') < row.find('k') &&
                    row.find('k') < row.rfind('r'))
            << row;
    }
    EXPECT_EQ(starts.size(), 960U);
    EXPECT_EQ(chess960Fen(518), startPositionFen);
    EXPECT_EQ(chess960Fen(959).substr(0, 8), "rkrnnqbb");
    EXPECT_EQ(chess960Fen(16 + 4 + 2).substr(0, 8), "nqbnrbkr") << "each piece counts free squares only";
}

} // namespace
} // namespace tarvonel

// Complete lists of the generators: the search's node counts depend on their order and scores. The
// legality tests check that no capture, quiet move or evasion is missing.
#include "movegen/generators.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "board/moveCode.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

using generator = void (*)(int, moveCode *, pos &);

/// The moves of a ply with their scores: "e4d5=22 ...".
std::string listText(int ply, const pos &position)
{
    std::string text;
    for (const moveCode *move = position.info[ply].listStart; move < position.info[ply].listEnd; ++move)
        text += moveText(*move, position.sideToMove, position) + '=' + std::to_string(moveExtra(*move)) + ' ';
    return text;
}

struct listCase
{
    const char *what, *fen;
    const char *move; ///< leads to the position whose list is asked for
    generator generate;
    const char *list;
};

// All kinds of pieces and moves, two pinned knights among them.
const char *const beforeWhite = "q1n1k3/1Pp3P1/1N3ppq/3Pn1NP/1b2P1B1/PpNp3r/Q2K1R2/8 b - - 0 1";
const char *const beforeBlack = "4k2r/8/5q2/8/1p1p1p2/1n1b1P2/P1R1P1p1/4KN1R w K - 0 1";

const listCase listCases[] = {
    {"quiescence", beforeWhite, "c7c5", generateQuiescenceMoves,
     "b7c8q=26 a3b4=54 b7a8q=74 h5g6=22 b6a8=84 b6c8=36 g4h3=66 g4c8=34 f2f6=16 a2b3=14 d2d3=12 d5c6=14 b7b8q=1 "
     "g7g8q=1 "},
    {"quiescence, black", beforeBlack, "e2e4", generateQuiescenceMoves,
     "g2f1q=18 g2h1q=50 d3f1=26 d3c2=58 d3e4=10 h8h1=56 d4e3=14 f4e3=14 g2g1q=1 "},
    {"quiets with castling", "r3k2r/p6p/8/8/8/8/P7/4K3 w kq - 0 1", "a2a3", generateQuiets,
     "a7a6=0 h7h6=0 a7a5=0 h7h5=0 e8g8=0 e8c8=0 a8b8=0 a8c8=0 a8d8=0 h8f8=0 h8g8=0 e8d7=0 e8e7=0 e8f7=0 e8d8=0 "
     "e8f8=0 "},
    {"recaptures, a pinned knight too", "1Q3B2/1n6/7R/2PKP3/2N5/8/b5k1/8 b - - 0 1", "b7d6", generateRecaptures,
     "c5d6=38 e5d6=38 c4d6=36 f8d6=34 h6d6=32 b8d6=30 d5d6=28 "},
    {"recaptures never en passant", beforeBlack, "e2e4", generateRecaptures, "d3e4=10 "},
    {"recapture promotes to a queen", "6k1/2rP4/8/8/8/8/8/4K3 b - - 0 1", "c7c8", generateRecaptures, "d7c8q=58 "},
    {"no recapture of nothing", "4k3/8/8/8/8/8/8/R3K3 b - - 0 1", "e8e7", generateRecaptures, ""},
    {"checker captured or blocked by all pieces", "k7/r7/8/2N5/7K/1P4p1/3PB3/5RQ1 b - - 0 1", "a7a4", generateCaptures,
     "h4g3=223 h4h3=202 h4g5=202 h4h5=202 b3a4=250 b3b4=210 d2d4=210 c5a4=236 c5e4=206 e2c4=205 e2g4=205 f1f4=204 "
     "g1d4=203 "},
    {"promotions out of check", "7K/1P2P3/8/8/8/8/8/k1r5 b - - 0 1", "c1c8", generateQuiescenceMoves,
     "h8g7=202 h8h7=202 b7c8q=250 b7c8r=250 b7c8b=250 b7c8n=250 e7e8q=210 e7e8r=210 e7e8b=210 e7e8n=210 "},
    {"checking pawn taken", "7k/2p5/8/1P1P4/3K4/8/8/8 b - - 0 1", "c7c5", generateRecaptures,
     "d4c3=202 d4d3=202 d4e3=202 d4c4=202 d4e4=202 d4c5=224 d4e5=202 b5c6=250 d5c6=250 "},
    {"checking pawn taken, black", "8/8/8/2k5/4p3/8/3P4/4K3 w - - 0 1", "d2d4", generateCaptures,
     "c5b4=202 c5c4=202 c5d4=223 c5b5=202 c5d5=202 c5b6=202 c5c6=202 c5d6=202 e4d3=250 "},
};

TEST(generators, orderAndScoresOfAllKindsOfMoves)
{
    for (const listCase &entry : listCases)
    {
        SCOPED_TRACE(entry.what);
        ownedPosition position(entry.fen);
        const moveCode move = parseMoveText(entry.move, *position);
        makeMove(*position, 0, move);
        position->info[0].playedMove = move;
        posinfo &node = position->info[1];
        node.listStart = position->info[0].listStart;
        node.inCheck = isKingAttacked(*position, position->sideToMove) ? 1 : 0;
        if (entry.generate == generateQuiets)
            generateCaptures(1, node.listStart, *position); // finds the pins
        node.stage = 0;
        entry.generate(1, node.listStart, *position);
        EXPECT_EQ(listText(1, *position), entry.list);
        EXPECT_EQ(position->info[2].listStart, node.listEnd);
        EXPECT_EQ(node.stage, entry.generate == generateCaptures && node.inCheck != 0 ? evasionStage : 0);
    }
}

TEST(generators, firstSlotLosesItsScoreEvenWhenTheListIsEmpty)
{
    const std::pair<generator, const char *> empty[] = {{generateCaptures, "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
                                                        {generateQuiets, "6bk/5ppp/5PPP/8/8/8/8/K7 b - - 0 1"}};
    for (const auto &[generate, fen] : empty)
    {
        ownedPosition position(fen);
        moveCode *slot = position->info[0].listStart;
        *slot = encodeMove(e1, e2, plainMove, 200);
        generate(0, slot, *position);
        EXPECT_EQ(*slot, encodeMove(e1, e2)) << fen;
        EXPECT_EQ(position->info[0].listEnd, slot) << fen;
    }
}

} // namespace
} // namespace tarvonel

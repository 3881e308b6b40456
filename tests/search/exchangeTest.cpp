#include "search/exchange.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "search/searchSupport.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

using bruteForce::letterBoard;

constexpr std::string_view kinds = "pnbrqk"; // in the order in which they capture

bool isOf(char man, bool white) { return white ? man >= 'A' && man <= 'Z' : man >= 'a' && man <= 'z'; }
std::size_t kindOf(char man) { return kinds.find(static_cast<char>(man | 32)); }
int valueOf(char man)
{
    constexpr int values[] = {88, 372, 372, 566, 1184, 10000};
    return man == bruteForce::noPiece ? 0 : values[kindOf(man)];
}

/// Squares of the side's men that attack the square, the cheapest first.
std::vector<int> attackersOf(const letterBoard &board, int target, bool byWhite)
{
    letterBoard alone = board; // each by itself, the others in the enemy's colour
    for (char &man : alone.squares)
        if (isOf(man, byWhite))
            man = static_cast<char>(man ^ 32);
    std::vector<int> attackers;
    for (int from = 0; from < 64; ++from)
    {
        const char changed = std::exchange(alone.squares[from], board.squares[from]);
        if (isOf(board.squares[from], byWhite) && bruteForce::isAttackedBy(alone, target, byWhite))
            attackers.push_back(from);
        alone.squares[from] = changed;
    }
    std::ranges::stable_sort(attackers, {}, [&](int from) { return kindOf(board.squares[from]); });
    return attackers;
}

/// What the side to capture wins on the square at best, the man on it being worth `prize`.
/// `isDisputed` when a capture uncovers an enemy slider: there the two definitions differ.
int bestGain(letterBoard board, int target, bool byWhite, int prize, bool &isDisputed)
{
    const std::vector<int> own = attackersOf(board, target, byWhite);
    const std::size_t enemies = attackersOf(board, target, !byWhite).size();
    if (own.empty() || (kindOf(board.squares[own[0]]) == kinds.find('k') && enemies > 0))
        return 0;
    const char capturer = std::exchange(board.squares[own[0]], bruteForce::noPiece);
    isDisputed = isDisputed || attackersOf(board, target, !byWhite).size() > enemies;
    return std::max(0, prize - bestGain(board, target, !byWhite, valueOf(capturer), isDisputed));
}

/// What a move wins by the exchange on its square, a promotion counting nothing.
int gainOf(letterBoard board, const bruteForce::letterMove &move, bool &isDisputed)
{
    const int prize = valueOf(std::exchange(board.squares[move.to], bruteForce::noPiece));
    const int moved = valueOf(std::exchange(board.squares[move.from], bruteForce::noPiece));
    return prize - bestGain(board, move.to, !board.whiteToMove, moved, isDisputed);
}

TEST(exchange, agreesWithRecursionOverAllMovesOfRandomGames)
{
    // All values are even: at odd thresholds there is no tie, whose outcome the recursion does not tell.
    constexpr std::int16_t thresholds[] = {-1201, -601, -401, -289, -89, -1, 1, 87, 193, 285, 371, 501, 1001};
    int compared = 0;
    int disputed = 0;
    playRandomGames({.seed = 11, .games = isSanitized ? 2 : 10},
                    [&](pos &position, const letterBoard &board)
                    {
                        for (const bruteForce::letterMove &move : bruteForce::legalMoves(board))
                        {
                            const moveCode code = bruteForce::codeOf(board, move);
                            if (isExemptFromSee(code))
                                continue;
                            if (!isPromotion(code))
                            {
                                const bool isHolding = seeAtLeast(code, 0, position);
                                makeMove(position, 0, code);
                                ASSERT_EQ(seeHoldsAfter(code, position.info[1].captured, position), isHolding)
                                    << "after the move";
                                unmakeMove(position, 0, code);
                            }
                            bool isDisputed = false;
                            const int gain = gainOf(board, move, isDisputed);
                            ++(isDisputed ? disputed : compared);
                            for (const std::int16_t threshold : thresholds)
                                ASSERT_TRUE(isDisputed || seeAtLeast(code, threshold, position) == (gain >= threshold))
                                    << bruteForce::writeFen(board) << ' ' << code << ' ' << threshold << ' ' << gain;
                        }
                    });
    EXPECT_GT(compared, 5000);
    EXPECT_LT(disputed, compared / 20);
}

TEST(exchange, byHand)
{
    const struct
    {
        const char *reason, *fen, *move;
        std::int16_t threshold;
        bool expected;
    } cases[] = {
        {"pawn takes knight, defended", "4k3/2p5/3n4/4P3/8/8/8/4K3 w - - 0 1", "e5d6", 0, true},
        {"queen takes defended pawn", "4k3/2p5/3p4/8/8/8/3Q4/4K3 w - - 0 1", "d2d6", 0, false},
        {"knight takes defended bishop: an equal trade", "4k3/2p5/3b4/8/4N3/8/8/4K3 w - - 0 1", "e4d6", 0, true},
        {"rook takes defended knight, a rook behind", "4k3/8/3n4/5n2/8/8/3R4/3RK3 w - - 0 1", "d2d6", 0, true},
        {"the king may not take back a defended man", "8/8/3pk3/8/8/8/3R4/3RK3 w - - 0 1", "d2d6", 0, true},
        {"the king takes back", "8/8/3pk3/8/8/8/3R4/4K3 w - - 0 1", "d2d6", 0, false},
        {"a pawn is no gain of 100", "4k3/8/3p4/4P3/8/8/8/4K3 w - - 0 1", "e5d6", 100, false},
        {"an undefended pawn is worth 88", "4k3/8/3p4/4P3/8/8/8/4K3 w - - 0 1", "e5d6", 88, true},
        {"quiet knight on to a pawn's square", "4k3/2p5/8/8/4N3/8/8/4K3 w - - 0 1", "e4d6", 0, false},
        {"quiet knight, loss allowed", "4k3/2p5/8/8/4N3/8/8/4K3 w - - 0 1", "e4d6", -372, true},
        {"a bishop behind the capturing pawn joins in", "4k3/8/3p4/2b5/3P4/4B3/8/4K3 w - - 0 1", "d4c5", 372, true},
        {"a knight on the square a bishop behind a pawn covers", "4k3/8/8/1b6/2p5/8/4N3/4K3 b - - 0 1", "c4c3", 0,
         false},
        {"en passant at 0", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", 0, true},
        {"en passant above 0", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", 1, false},
        {"castling at 0", "4k3/8/8/8/8/8/8/4K2R w K - 0 1", "e1g1", 0, true},
        {"a promotion moves a pawn's worth", "3rk3/4P3/8/8/8/8/8/4K3 w - - 0 1", "e7d8q", 478, true},
        // Knight takes pawn, rook takes knight, knight takes rook, rook takes knight: 88 - 372 + 566 - 372.
        {"above a tie", "3r2k1/3r4/3p4/8/2N1N3/8/8/4K3 w - - 0 1", "c4d6", -91, true},
        {"a tie by the opponent's capture fails", "3r2k1/3r4/3p4/8/2N1N3/8/8/4K3 w - - 0 1", "c4d6", -90, false},
    };
    for (const auto &c : cases)
    {
        workbench bench(c.fen);
        EXPECT_EQ(seeAtLeast(bench.move(c.move), c.threshold, *bench), c.expected) << c.reason;
    }
}

} // namespace
} // namespace tarvonel

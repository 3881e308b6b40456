#include "search/nodeEntry.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/moveCode.h"
#include "board/setup.h"
#include "search/score.h"
#include "search/searchSupport.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

/// Plays the first moves as a game and the others in the tree; the result for the last position.
bool isRepetitionAfter(const std::vector<std::string> &game, const std::vector<std::string> &tree)
{
    ownedPosition root(startPositionFen);
    for (const std::string &text : game)
        playGameMove(*root, parseMoveText(text, *root));
    int ply = 0;
    for (const std::string &text : tree)
        makeMove(*root, ply++, parseMoveText(text, *root));
    return isRepetition(ply, *root);
}

TEST(repetition, onceInTheTreeOrTwiceBeforeTheRoot)
{
    const std::vector<std::string> circle = {"g1f3", "g8f6", "f3g1", "f6g8"};
    const std::vector<std::string> twice = {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6", "f3g1", "f6g8"};
    const struct
    {
        const char *reason;
        std::vector<std::string> game, tree;
        bool expected;
    } cases[] = {
        {"three reversible moves cannot repeat", {}, {"g1f3", "g8f6", "f3g1"}, false},
        {"the root position itself counts as before the root", {}, circle, false},
        {"a position of the tree comes back", {}, {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3"}, true},
        {"a new position is none", {}, {"g1f3", "g8f6", "f3g1", "f6g8", "b1c3"}, false},
        {"once before the root, played there", circle, {}, false},
        {"twice before the root", twice, {}, true},
        {"once before the root, reached in the tree", {"g1f3", "g8f6", "f3g1"}, {"f6g8"}, false},
        {"twice before the root, first time in the tree",
         {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6", "f3g1"},
         {"f6g8"},
         true},
        {"a pawn move in between", {"g1f3", "g8f6", "f3g1", "f6g8", "e2e3"}, {"e7e6"}, false},
    };
    for (const auto &c : cases)
        EXPECT_EQ(isRepetitionAfter(c.game, c.tree), c.expected) << c.reason;
}

} // namespace
} // namespace tarvonel

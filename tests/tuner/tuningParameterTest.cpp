#include "tuner/tuningParameter.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "board/pieceValues.h"

namespace tarvonel
{

namespace
{

std::string textOf(const parameterList &parameters)
{
    std::string text;
    printParameters(parameters, [&text](std::string_view part) { text += part; });
    return text;
}

/// A board of pawns, each entry of the six middle ranks with a value of its own.
struct pawnBoard
{
    std::int32_t entries[64] = {};
    parameterList parameters;

    explicit pawnBoard(tunedHalves halves)
    {
        for (int i = 8; i < 56; ++i)
            entries[i] = X(i, -i);
        addTable(parameters, {.name = "pawns",
                              .first = entries + 8,
                              .size = 24,
                              .halves = halves,
                              .printKind = firstBoardRow,
                              .pawnRows = true,
                              .mirrored = true});
    }
};

} // namespace

TEST(tuningParameterTest, eachTableIsPrintedInItsForm)
{
    std::int32_t pairs[] = {X(1, -2), X(-30, 40), X(500, -600)};
    std::int32_t integers[] = {7, -8, 9, 10, 11, 12, 13, 14, 15};
    parameterList parameters;
    addTable(parameters, {.name = "three[3]", .first = pairs, .size = 3});
    addTable(parameters, {.name = "nine[9]", .first = integers, .size = 9, .halves = tunedHalves::integer});
    addTable(parameters, {.name = "one", .first = pairs, .halves = tunedHalves::endGame, .printKind = singleConstant});
    addTable(parameters, {.name = "byPiece", .first = pairs, .size = 2, .printKind = bracedBetweenTwoAndZero});
    addTable(parameters, {.name = "pieceValue[6]", .first = pairs, .size = 2, .printKind = bracedPieceValues});
    addTable(parameters, {.name = "rooks", .first = pairs, .size = 2, .printKind = middleBoardRow});
    addTable(parameters, {.name = "kings", .first = pairs, .size = 2, .printKind = lastBoardRow});
    EXPECT_EQ(textOf(parameters),
              "TCONST combEval three[3] = \n{\nX(   1,  -2), X( -30,  40), X( 500,-600)\n};\n"
              "TCONST combEval nine[9] = \n{\n7, -8, 9, 10, 11, 12, 13, 14, \n15\n};\n"
              "TCONST combEval one = X(   1,  -2);\n"
              "TCONST combEval byPiece = \n{\n X(   0,   0),  X(   0,   0), X(   1,  -2), X( -30,  40), X( 0, 0) \n};\n"
              "TCONST combEval pieceValue[6] = \n{\n X(  82,  94), X(   1,  -2), X( -30,  40), X(12000, 12000) \n};\n"
              "// rooks\nX(   1,  -2), X( -30,  40),\n"
              "// kings\nX(   1,  -2), X( -30,  40)\n};\n");
    EXPECT_EQ(textOf({}), "");
}

TEST(tuningParameterTest, stepsChangeOneHalfOrAWholeInteger)
{
    const struct
    {
        std::int32_t before;
        int amount;
        tunedHalves halves;
        std::int32_t after;
    } cases[] = {{X(3, -4), 9, tunedHalves::middleGame, X(12, -4)},
                 {X(-1, 0), 1, tunedHalves::middleGame, X(0, 0)},
                 {X(-1, 0), -3, tunedHalves::endGame, X(-1, -3)},
                 {X(0, -1), 2, tunedHalves::endGame, X(0, 1)},
                 {-1, 70000, tunedHalves::integer, 69999}};
    for (const auto &c : cases)
    {
        std::int32_t value = c.before;
        parameterList parameters;
        addTable(parameters, {.name = "t", .first = &value, .halves = c.halves});
        applyStep(parameters, 0, c.amount);
        EXPECT_EQ(value, c.after) << c.before << " by " << c.amount;
    }
}

TEST(tuningParameterTest, mirrorImagesFollowTheirParameter)
{
    for (const tunedHalves halves : {tunedHalves::both, tunedHalves::middleGame, tunedHalves::endGame})
    {
        pawnBoard board(halves);
        const std::size_t perEntry = halves == tunedHalves::both ? 2 : 1;
        ASSERT_EQ(board.parameters.size(), 24 * perEntry);
        const std::size_t c6 = perEntry * (4 + 2); // second row of the table, third file
        applyStep(board.parameters, c6, 5);
        const std::int32_t expected = halves == tunedHalves::endGame ? X(18, -13) : X(23, -18);
        for (int i = 0; i < 64; ++i)
            EXPECT_EQ(board.entries[i], i == 18 || i == 21 ? expected : i < 8 || i >= 56 ? 0 : X(i, -i)) << i;
        EXPECT_EQ(std::ranges::count(textOf(board.parameters), 'X'), 64) << "mirror images and empty ranks included";
    }
}

} // namespace tarvonel

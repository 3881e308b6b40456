#include "tuner/tuningParameter.h"

#include <algorithm>

#include "board/combEval.h"
#include "tuner/tunerFixture.h"

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

std::int32_t pairs[] = {X(1, -2), X(-30, 40), X(500, -600)};
std::int32_t integers[] = {7, -8, 9, 10, 11, 12, 13, 14, 15};

struct printCase
{
    const char *reason;
    tuningTable table;
    const char *expected;
};

const printCase printCases[] = {
    {"a braced table",
     {.name = "pairs[3]", .first = pairs, .size = 3},
     "TCONST combEval pairs[3] = \n{\nX(   1,  -2), X( -30,  40), X( 500,-600)\n};\n"},
    {"one half alone prints the whole entries",
     {.name = "pairs[3]", .first = pairs, .size = 3, .halves = tunedHalves::endGame},
     "TCONST combEval pairs[3] = \n{\nX(   1,  -2), X( -30,  40), X( 500,-600)\n};\n"},
    {"integers, a line after eight",
     {.name = "integers[9]", .first = integers, .size = 9, .halves = tunedHalves::integer},
     "TCONST combEval integers[9] = \n{\n7, -8, 9, 10, 11, 12, 13, 14, \n15\n};\n"},
    {"no line end behind the eighth entry if it is the last",
     {.name = "integers[8]", .first = integers, .size = 8, .halves = tunedHalves::integer},
     "TCONST combEval integers[8] = \n{\n7, -8, 9, 10, 11, 12, 13, 14\n};\n"},
    {"a constant", {.name = "one", .first = pairs, .printKind = 1}, "TCONST combEval one = X(   1,  -2);\n"},
    {"a constant", {.name = "one", .first = pairs, .printKind = 3}, "TCONST combEval one = X(   1,  -2);\n"},
    {"a leading zero",
     {.name = "t", .first = pairs, .size = 2, .printKind = 5},
     "TCONST combEval t = \n{\n X(   0,   0), X(   1,  -2), X( -30,  40)\n};\n"},
    {"zeros around",
     {.name = "t", .first = pairs, .size = 2, .printKind = 6},
     "TCONST combEval t = \n{\n X(   0,   0), X(   1,  -2), X( -30,  40), X( 0, 0) \n};\n"},
    {"two leading zeros",
     {.name = "t", .first = pairs, .size = 2, .printKind = 7},
     "TCONST combEval t = \n{\n X(   0,   0),  X(   0,   0), X(   1,  -2), X( -30,  40), X( 0, 0) \n};\n"},
    {"a leading integer zero",
     {.name = "t", .first = integers, .size = 2, .halves = tunedHalves::integer, .printKind = 8},
     "TCONST combEval t = \n{\n 0, 7, -8\n};\n"},
    {"piece values",
     {.name = "pieceValue[6]", .first = pairs, .size = 2, .printKind = 9},
     "TCONST combEval pieceValue[6] = \n{\n X(  82,  94), X(   1,  -2), X( -30,  40), X(12000, 12000) \n};\n"},
    {"the first table of a board",
     {.name = "pawns", .first = pairs, .size = 2, .printKind = 10},
     "TCONST combEval pieceSquareScore[6][NOFSQUARES] = \n{\nX(   1,  -2), X( -30,  40),\n"},
    {"a middle one",
     {.name = "rooks", .first = pairs, .size = 2, .printKind = 11},
     "// rooks\nX(   1,  -2), X( -30,  40),\n"},
    {"the last one",
     {.name = "kings", .first = pairs, .size = 2, .printKind = 12},
     "// kings\nX(   1,  -2), X( -30,  40)\n};\n"},
};

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

TEST(tuningParameterTest, sourceTextKindByKind)
{
    for (const printCase &each : printCases)
    {
        parameterList parameters;
        addTable(parameters, each.table);
        EXPECT_EQ(textOf(parameters), each.expected) << each.reason << ", kind " << each.table.printKind;
    }
}

TEST(tuningParameterTest, tablesFollowEachOtherInTheText)
{
    parameterList parameters;
    for (const tunedHalves halves : {tunedHalves::both, tunedHalves::middleGame})
        addTable(parameters, {.name = "a", .first = pairs, .size = 3, .halves = halves});
    addTable(parameters, {.name = "b", .first = integers, .halves = tunedHalves::integer, .printKind = singleConstant});
    EXPECT_EQ(parameters.size(), 6U + 3U + 1U);
    const std::string table = "TCONST combEval a = \n{\nX(   1,  -2), X( -30,  40), X( 500,-600)\n};\n";
    EXPECT_EQ(textOf(parameters), table + table + "TCONST combEval b = 7;\n");
    EXPECT_EQ(textOf({}), "");
}

TEST(tuningParameterTest, mirroredPawnBoardPrintsAllSixtyFourEntries)
{
    pawnBoard board(tunedHalves::both);
    writeMirrorImages(board.parameters);
    std::string expected = "TCONST combEval pieceSquareScore[6][NOFSQUARES] = \n{\n";
    for (int i = 0; i < 64; ++i)
    {
        const int file = i % 8 < 4 ? i % 8 : 7 - i % 8;
        const int value = i < 8 || i >= 56 ? 0 : i / 8 * 8 + file;
        char entry[20];
        std::snprintf(entry, sizeof entry, "X(%4d,%4d)", value, -value);
        expected += std::string(entry) + (i == 63 ? "" : i % 8 == 7 ? ", \n" : ", ");
    }
    EXPECT_EQ(textOf(board.parameters), expected + ",\n");
}

TEST(tuningParameterTest, stepsChangeOneHalf)
{
    struct stepCase
    {
        std::int32_t before;
        int amount;
        std::int32_t middleGame, endGame;
    };
    for (const stepCase &each : {stepCase{X(3, 4), 9, X(12, 4), X(3, 13)},
                                 {X(-1, 0), 1, X(0, 0), X(-1, 1)},
                                 {X(-1, 0), -3, X(-4, 0), X(-1, -3)},
                                 {X(0, -1), 2, X(2, -1), X(0, 1)}})
    {
        std::int32_t value = each.before;
        parameterList parameters;
        addTable(parameters, {.name = "t", .first = &value});
        ASSERT_EQ(parameters.size(), 2U);
        applyStep(parameters, 0, each.amount);
        EXPECT_EQ(value, each.middleGame);
        value = each.before;
        applyStep(parameters, 1, each.amount);
        EXPECT_EQ(value, each.endGame);
    }
}

TEST(tuningParameterTest, stepsOnIntegersAreWhole)
{
    std::int32_t value = -1;
    parameterList parameters;
    addTable(parameters, {.name = "t", .first = &value, .halves = tunedHalves::integer});
    applyStep(parameters, 0, 70000);
    EXPECT_EQ(value, 69999);
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
    }
}

TEST(tuningParameterTest, nothingIsRegistered)
{
    parameterList parameters;
    registerParameters(parameters);
    EXPECT_TRUE(parameters.empty());
}

} // namespace tarvonel

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

const struct
{
    const char *reason, *name;
    int printKind;
    std::uint32_t size;
    bool isInteger;
    const char *text; ///< behind "TCONST combEval ", if it is not a table further down in a board
} printCases[] = {
    {"entries of both halves", "t[3]", 0, 3, false, "t[3] = \n{\nX(   1,  -2), X( -30,  40), X( 500,-600)\n};\n"},
    {"a line after eight", "t[9]", 0, 9, true, "t[9] = \n{\n7, -8, 9, 10, 11, 12, 13, 14, \n15\n};\n"},
    {"but not if the eighth is the last", "t[8]", 0, 8, true, "t[8] = \n{\n7, -8, 9, 10, 11, 12, 13, 14\n};\n"},
    {"a constant", "one", 1, 1, false, "one = X(   1,  -2);\n"},
    {"a constant", "one", 3, 1, false, "one = X(   1,  -2);\n"},
    {"a leading zero", "t", 5, 2, false, "t = \n{\n X(   0,   0), X(   1,  -2), X( -30,  40)\n};\n"},
    {"zeros around", "t", 6, 2, false, "t = \n{\n X(   0,   0), X(   1,  -2), X( -30,  40), X( 0, 0) \n};\n"},
    {"two leading zeros", "t", 7, 2, false,
     "t = \n{\n X(   0,   0),  X(   0,   0), X(   1,  -2), X( -30,  40), X( 0, 0) \n};\n"},
    {"a leading integer zero", "t", 8, 2, true, "t = \n{\n 0, 7, -8\n};\n"},
    {"piece values", "pieceValue[6]", 9, 2, false,
     "pieceValue[6] = \n{\n X(  82,  94), X(   1,  -2), X( -30,  40), X(12000, 12000) \n};\n"},
    {"the first table of a board", "pawns", 10, 2, false,
     "pieceSquareScore[6][NOFSQUARES] = \n{\nX(   1,  -2), X( -30,  40),\n"},
    {"a middle one", "rooks", 11, 2, false, "// rooks\nX(   1,  -2), X( -30,  40),\n"},
    {"the last one", "kings", 12, 2, false, "// kings\nX(   1,  -2), X( -30,  40)\n};\n"},
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
    for (const auto &each : printCases)
    {
        parameterList parameters;
        addTable(parameters, {.name = each.name,
                              .first = each.isInteger ? integers : pairs,
                              .size = each.size,
                              .halves = each.isInteger ? tunedHalves::integer : tunedHalves::both,
                              .printKind = each.printKind});
        const bool isBelow = std::string_view(each.text).starts_with("//");
        EXPECT_EQ(textOf(parameters), std::string(isBelow ? "" : "TCONST combEval ") + each.text) << each.reason;
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

TEST(tuningParameterTest, stepsChangeOneHalfOrAWholeInteger)
{
    struct
    {
        std::int32_t before;
        int amount;
        std::vector<std::int32_t> after; ///< by each of the parameters of the entry
        tunedHalves halves = tunedHalves::both;
    } const cases[] = {{X(3, 4), 9, {X(12, 4), X(3, 13)}},
                       {X(-1, 0), 1, {X(0, 0), X(-1, 1)}},
                       {X(-1, 0), -3, {X(-4, 0), X(-1, -3)}},
                       {X(0, -1), 2, {X(2, -1), X(0, 1)}},
                       {-1, 70000, {69999}, tunedHalves::integer}};
    for (const auto &c : cases)
    {
        std::int32_t value = c.before;
        parameterList parameters;
        addTable(parameters, {.name = "t", .first = &value, .halves = c.halves});
        ASSERT_EQ(parameters.size(), c.after.size());
        for (std::size_t i = 0; i < parameters.size(); ++i)
        {
            value = c.before;
            applyStep(parameters, i, c.amount);
            EXPECT_EQ(value, c.after[i]);
        }
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
    }
}

} // namespace tarvonel

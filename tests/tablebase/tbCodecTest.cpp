// Decoding tablebase files: values from blocks of codes, indices of positions, distances through maps.

#include <algorithm>

#include <gtest/gtest.h>

#include "support/tablebaseFiles.h"

namespace tarvonel
{

using namespace tbTest;

TEST(tableCodec, everyStoredValueIsDecoded)
{
    const struct
    {
        const char *reason;
        std::uint64_t size;
        codecForm form;
    } cases[] = {
        {"small blocks, large spans", 31332, {5, 12, 0}},
        {"large blocks, small spans", 20000, {10, 3, 0}},
        {"one block, one span, its middle beyond the end", 300, {9, 16, 0}},
    };
    for (const auto &c : cases)
    {
        const storedPart part = randomPart(c.size, {3, 0, 4095, 2, 256}, c.form);
        blockCodec codec;
        byteCursor header{part.header.data(), part.header.size()};
        ASSERT_TRUE(readCodecHeader(codec, header, c.size)) << c.reason;
        EXPECT_EQ(header.offset, part.header.size()) << c.reason;
        codec.sparseIndex = part.sparse.data();
        codec.blockLengths = part.lengths.data();
        codec.data = part.data.data();
        std::vector<int> decoded;
        for (std::uint64_t index = 0; index < c.size; ++index)
            decoded.push_back(decodeIndex(codec, index));
        EXPECT_TRUE(std::equal(decoded.begin(), decoded.end(), part.values.begin())) << c.reason;
    }
}

TEST(tableIndex, positionsAreNumberedAsTheirPlacementsAreListed)
{
    // Each found by listing all placements of its kind in the order of the format.
    const struct
    {
        const char *pieces; ///< in the order of the index
        leadingGroup lead;
        int order, secondOrder;
        const char *squares;
        std::uint64_t index;
    } rows[] = {
        {"QkK", leadingGroup::threePieces, 0, 1, "b1g7d6", 3328},
        {"QkK", leadingGroup::threePieces, 0, 1, "a1f1b8", 23739},
        {"QkK", leadingGroup::threePieces, 0, 1, "d4b1a1", 28644},
        {"RKkQ", leadingGroup::threePieces, 1, 1, "a1c1f3e1", 1434539},
        {"RKkQ", leadingGroup::threePieces, 1, 1, "a1d4f2b6", 1857244},
        {"RKkQ", leadingGroup::threePieces, 1, 1, "b2f6g7f5", 1905310},
        {"BKbk", leadingGroup::threePieces, 0, 1, "c3a1c2b1", 30779},
        {"BKbk", leadingGroup::threePieces, 0, 1, "c3e5a1a2", 250590},
        {"kKRR", leadingGroup::kingPair, 1, 1, "b1d1f6g5", 939},
        {"kKRR", leadingGroup::kingPair, 1, 1, "a1d1h5g2", 643618},
        {"kKRR", leadingGroup::kingPair, 1, 1, "a1c3d6b4", 834774},
        {"kKRR", leadingGroup::kingPair, 1, 1, "b2h8d4a1", 853166},
        {"PkK", leadingGroup::pawns, 2, 1, "a2c7d6", 2695},
        {"PkK", leadingGroup::pawns, 2, 1, "b2f5h6", 2871},
        {"PPKk", leadingGroup::pawns, 1, 1, "b5d7g2a1", 6214},
        {"PPKk", leadingGroup::pawns, 1, 1, "d2d7e7e6", 96088},
        {"PPPkK", leadingGroup::pawns, 0, 1, "a2a3b2a1b1", 1025},
        {"pKNk", leadingGroup::pawns, 2, 1, "b5a4c7b2", 225690},
        {"PpKk", leadingGroup::pawns, 1, 3, "d5b2a1g4", 33294},
        {"pPPkK", leadingGroup::pawns, 3, 0, "b2e3f2f8d1", 260580},
        {"pPPkK", leadingGroup::pawns, 3, 0, "d2d7f4d8a1", 61417},
    };
    for (const auto &row : rows)
    {
        const std::string pieces = row.pieces, squares = row.squares;
        const auto pieceCount = static_cast<int>(pieces.size());
        const auto places = reinterpret_cast<const std::uint8_t *>(row.pieces);
        const bool pawns = row.lead == leadingGroup::pawns;
        const auto count = [&](char piece)
        { return static_cast<std::uint8_t>(std::count(pieces.begin(), pieces.end(), piece)); };
        const std::uint8_t pawnCounts[] = {count(pieces[0]), pieces[0] == 'p' ? count('P') : count('p')};
        int placed[maxTbPieces];
        for (std::size_t i = 0; i < pieces.size(); ++i)
            placed[i] = squareAt(squares[2 * i] - 'a', squares[2 * i + 1] - '1');
        const auto onDiagonal = [&](int piece) { return fileOf(placed[piece]) == rankOf(placed[piece]); };
        const bool turns = !pawns && !(onDiagonal(0) && onDiagonal(1));
        for (const int change : {0, 7, 56, 63})
            for (const bool transposed : {false, true})
            {
                if ((pawns && change >= 56) || (transposed && !turns))
                    continue;
                int image[maxTbPieces];
                for (int i = 0; i < pieceCount; ++i)
                    image[i] = (transposed ? squareAt(rankOf(placed[i]), fileOf(placed[i])) : placed[i]) ^ change;
                if (pawns)
                    std::reverse(image, image + pawnCounts[0]); // in any order
                const int file = pawns ? leadingPawnFile(image, pawnCounts[0]) : 0;
                indexLayout layout;
                ASSERT_TRUE(makeIndexLayout(layout, row.lead, places, pieceCount, pawnCounts, file, row.order,
                                            row.secondOrder));
                EXPECT_EQ(positionIndex(layout, image, pieceCount), row.index)
                    << pieces << " " << squares << " turned " << change << transposed;
                EXPECT_LT(row.index, layout.size);
            }
    }
}

TEST(tableFile, distancesComeThroughMapsAndAreDoubledWhereTheyAreMoves)
{
    constexpr int stored = 3;
    const std::vector<std::vector<int>> maps = {{10, 11, 12, 13}, {20, 21, 22, 23}, {30, 31, 32, 33}, {40, 41, 42, 43}};
    const struct
    {
        int flags;
        int distances[5]; ///< for a loss, a saved loss, a draw, a spoilt win, a win
    } forms[] = {
        {0, {6, 6, 6, 6, 6}},
        {dtzWinPliesFlag, {6, 6, 6, 6, 3}},
        {dtzLossPliesFlag, {3, 6, 6, 6, 6}},
        {dtzMappedFlag, {46, 86, 26, 66, 26}},
        {dtzMappedFlag | dtzWinPliesFlag | dtzLossPliesFlag, {23, 86, 26, 66, 13}},
        {dtzMappedFlag | dtzWideMapFlag | dtzLossPliesFlag, {23, 86, 26, 66, 26}},
    };
    tbMaterial material;
    material.pieces = 3;
    material.counts[0][king] = material.counts[0][rook] = material.counts[1][king] = 1;
    const tbPosition asked = tablePosition("8/8/8/4k3/8/3R4/2K5/8 w - - 0 1");
    for (const auto &form : forms)
        for (const int storedSide : {0, 1})
        {
            const storedPart part = randomPart(31332, {stored}, {6, 8, form.flags | storedSide});
            const byteRow file = tableFileOf("KRk", dtzKind, {part}, maps);
            mappedTablebase table;
            ASSERT_TRUE(readTbFile(table, material, dtzKind, file.data(), file.size())) << form.flags;
            for (const bool flip : {false, true})
                for (int wdl = -2; wdl <= 2; ++wdl)
                {
                    tbPosition position = flip ? swappedColours(asked) : asked;
                    position.turn ^= static_cast<std::uint8_t>(storedSide);
                    int value = -1;
                    EXPECT_EQ(lookUpTb(table, material, dtzKind, position, flip, wdl, value), lookUp::found);
                    EXPECT_EQ(value, form.distances[wdl + 2]) << form.flags << " wdl " << wdl;
                    position.turn ^= 1;
                    EXPECT_EQ(lookUpTb(table, material, dtzKind, position, flip, wdl, value), lookUp::otherSide);
                }
        }
}

} // namespace tarvonel

// The index of a position in a tablebase.
//
// The pieces are placed in groups, in an order that each sub-table chooses. The leading group uses the
// symmetries of the board. It is one of
//
//   the two kings          if no other piece is single: 462 placements
//   three single pieces    31332 placements
//   the pawns of one side  the leading pawn on one of the files a to d
//
// Each further group (the other side's pawns, then each set of equal pieces) is a combination of the
// remaining squares. The index is the sum of placement number x factor over the groups.
#pragma once

#include <cstdint>

#include "board/bits.h"
#include "tablebase/tbPosition.h"

namespace tarvonel
{

enum class leadingGroup : std::uint8_t
{
    kingPair,
    threePieces,
    pawns
};

inline constexpr int leadFiles = 4; ///< files a to d; the others are mirrored

/// How a sub-table numbers its positions. Group 0 is the leading one.
struct indexLayout
{
    leadingGroup lead;
    std::uint8_t groupCount;
    std::uint8_t groupSize[maxTbPieces]; ///< pieces in the group
    bool secondPawns;                    ///< group 1 is the other side's pawns
    std::uint64_t factor[maxTbPieces];
    std::uint64_t size; ///< number of indices
};

/// Computes the layout of a sub-table. `pieces` are its piece codes, the leading group first and equal
/// pieces together. `order` and `secondOrder` are the positions of the leading group and of the other
/// side's pawns in the sequence of factors. False if they are out of range.
bool makeIndexLayout(indexLayout &layout, leadingGroup lead, const std::uint8_t *pieces, int pieceCount,
                     const std::uint8_t pawnCounts[2], int file, int order, int secondOrder);

/// The index of a placement. `squares` are in the order of the sub-table's pieces and all different. They
/// are mirrored in place.
std::uint64_t positionIndex(const indexLayout &layout, int *squares, int pieceCount);

/// Moves the leading pawn to the front of the pawns and returns its file after mirroring, 0 to 3.
int leadingPawnFile(int *squares, int pawnCount);

} // namespace tarvonel

// From the squares of a position's men to its number in an endgame table.
//
// The men of a table are placed group by group, in an order that each sub-table chooses. The
// leading group takes in the symmetries of the board and is one of
//
//   the two kings          when nothing else is single: 462 placements
//   three single pieces    31332 placements
//   the pawns of one side  the leading pawn on a given file of a to d
//
// Each further group, the other side's pawns and then runs of like men, is a combination out of the
// squares left. A position's index is the sum over the groups of placement number x factor.
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

inline constexpr int leadFiles = 4; ///< files a to d, the others are mirrored

/// How a sub-table numbers its positions. Group 0 is the leading one.
struct indexLayout
{
    leadingGroup lead;
    std::uint8_t groupCount;
    std::uint8_t groupSize[maxTablePieces]; ///< men in the group, in the order of the places
    bool secondPawns;                       ///< group 1 is the other side's pawns
    std::uint64_t factor[maxTablePieces];
    std::uint64_t size; ///< number of indices
};

/// Fills groupCount to size of a layout. `places` holds the piece codes of the sub-table, in which
/// like men stand together and the leading group first; `order` and `secondOrder` are the places of
/// the leading group's and the other side's pawns' factors among all. False if they fit no group.
bool makeIndexLayout(indexLayout &layout, leadingGroup lead, const std::uint8_t *places, int pieceCount,
                     const std::uint8_t pawnCounts[2], int file, int order, int secondOrder);

/// The number of a placement: squares in the order of the sub-table's places, each on the board and
/// no two equal. Turns the squares over to the table's view.
std::uint64_t positionIndex(const indexLayout &layout, int *squares, int pieceCount);

/// Moves the leading pawn of the set to the front and returns its file after mirroring, 0 to 3.
int leadingPawnFile(int *squares, int pawnCount);

} // namespace tarvonel

// One mapped table file: its header, and the sub-tables that the header tells of.
//
//   magic 4 | flags 1 (1: both sides to move stored, 2: pawns) | places | one byte more if the offset
//   is odd | codec headers | for DTZ: maps, one byte more if the offset is odd | sparse indices |
//   block lengths | data, each sub-table's at a multiple of 64 | 16 bytes
//
// Sub-tables: one without pawns, else one for each file a to d of the leading pawn; a WDL file may
// hold each of them for both sides to move, first and second side of the table's name. Within a
// section they stand by file, then by side. In the places the low nibble is the first stored side's
// and the high nibble the second's:
//
//   for each file: order 1 | order of the other side's pawns 1, if both sides have pawns |
//                  a piece code for each man (1 pawn to 6 king, 8 more for the name's second side)
//
// A map of DTZ values (where the sub-table's flags ask for maps): four times a count and that many
// values; counts and values are bytes, or 16 bits wide from an even offset on.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/fileMapping.h"
#include "tablebase/tableCodec.h"
#include "tablebase/tableIndex.h"

namespace tarvonel
{

enum tableKind : int
{
    wdlKind, ///< win, draw, loss
    dtmKind, ///< distance to mate; noted, never read
    dtzKind, ///< distance to a zeroing move
};
inline constexpr int tableKindCount = 3;
inline constexpr std::uint32_t tableMagics[tableKindCount] = {0x5D23E871, 0x88AC504B, 0xA50C66D7};

/// Every table file's size is this modulo its unit.
inline constexpr int tableSizeUnit = 64, tableSizeRest = 16;
constexpr bool isTableSize(std::uint64_t size) { return size % tableSizeUnit == tableSizeRest; }

/// What a table's name says.
struct tableMaterial
{
    std::uint8_t pieces = 0; ///< kings included
    bool symmetric = false;  ///< both sides have the same men
    bool hasPawns = false;
    bool kkEncoding = false; ///< nothing but the two kings is single; tables without pawns
    /// Pawns of the leading side, the one with fewer if it has any, and of the other.
    std::uint8_t pawnCounts[2] = {};
    std::uint8_t leadingPawn = 0;                ///< that side's piece code
    std::uint8_t counts[2][pieceTypeCount] = {}; ///< men by side of the name and type
};

/// Piece codes of the files: low three bits 1 pawn to 6 king, bit 3 the name's second side.
inline constexpr int tableTypeMask = 7, secondSideFlag = 8;

/// Flags of a DTZ sub-table.
enum dtzFlags : int
{
    dtzSideFlag = 1, ///< stored for the name's second side to move
    dtzMappedFlag = 2,
    dtzWinPliesFlag = 4,
    dtzLossPliesFlag = 8,
    dtzWideMapFlag = 16,
};
inline constexpr int dtzMapCount = 4;

struct subTable
{
    std::uint8_t places[maxTablePieces] = {}; ///< piece codes in the order of the index
    indexLayout layout = {};
    blockCodec codec;
    const std::uint8_t *maps[dtzMapCount] = {}; ///< into the file, behind the counts
    std::uint16_t mapCounts[dtzMapCount] = {};
};

/// A table file ready for probing; read-only once made.
struct mappedTable
{
    fileMapping mapping; ///< empty for a table read from memory of the caller's
    int sides = 1;
    subTable subTables[2][leadFiles];
};

/// Reads the header of a file's bytes, which must outlive the table. False if anything in it does
/// not hold together; otherwise no later look-up leaves the bytes.
bool readTable(mappedTable &table, const tableMaterial &material, tableKind kind, const std::uint8_t *data,
               std::size_t size);

enum class lookUp
{
    found,
    otherSide, ///< the DTZ file holds the other side to move only
    noTablePosition,
    corrupt, ///< the file's bytes contradict each other, or can no longer be read
};

/// Looks a position with the table's material up. `flip`: the colours change place against the
/// table's name. `wdl` is the position's known value for a DTZ table. On `found`, `value` is the
/// WDL value -2 to 2, or the distance in plies.
lookUp lookUpTable(const mappedTable &table, const tableMaterial &material, tableKind kind, const tbPosition &position,
                   bool flip, int wdl, int &value);

} // namespace tarvonel

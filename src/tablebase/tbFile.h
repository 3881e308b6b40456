// A mapped tablebase file: its header and its sub-tables.
//
//   magic 4 | flags 1 (1: both sides to move stored, 2: pawns) | piece orders | padding to an even
//   offset | codec headers | for DTZ: maps, padding to an even offset | sparse indices |
//   block lengths | data, each sub-table's at a multiple of 64 | 16 bytes
//
// There is one sub-table without pawns, otherwise one for each file a to d of the leading pawn. A WDL file
// may have each of them for both sides to move: the first and the second side of the tablebase's name.
// Within a section they are ordered by file, then by side. In the piece orders the low nibble is for the
// first stored side and the high nibble for the second:
//
//   for each file: order 1 | order of the other side's pawns 1, if both sides have pawns |
//                  a code for each piece (1 pawn to 6 king, plus 8 for the name's second side)
//
// The map of DTZ values, if the flags of the sub-table announce one, is four times a count and its values.
// Counts and values are bytes, or 16 bits at an even offset.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/fileMapping.h"
#include "tablebase/tbCodec.h"
#include "tablebase/tbIndex.h"

namespace tarvonel
{

enum tbKind : int
{
    wdlKind, ///< win, draw, loss
    dtmKind, ///< distance to mate; registered, never read
    dtzKind, ///< distance to a zeroing move
};
inline constexpr int tbKindCount = 3;
inline constexpr std::uint32_t tbMagics[tbKindCount] = {0x5D23E871, 0x88AC504B, 0xA50C66D7};

/// Every file's size is `tbSizeRest` modulo `tbSizeUnit`.
inline constexpr int tbSizeUnit = 64, tbSizeRest = 16;
constexpr bool isTbFileSize(std::uint64_t size) { return size % tbSizeUnit == tbSizeRest; }

/// The material in the name of a tablebase.
struct tbMaterial
{
    std::uint8_t pieces = 0; ///< kings included
    bool symmetric = false;  ///< both sides have the same pieces
    bool hasPawns = false;
    bool kkEncoding = false; ///< no pawns, and the kings are the only single pieces
    /// Pawns of the leading side (the one with fewer, but at least one) and of the other side.
    std::uint8_t pawnCounts[2] = {};
    std::uint8_t leadingPawn = 0;                ///< that side's piece code
    std::uint8_t counts[2][pieceTypeCount] = {}; ///< pieces by side of the name and by type
};

/// Piece codes in the files: the low three bits are 1 pawn to 6 king, bit 3 is the name's second side.
inline constexpr int tbTypeMask = 7, secondSideFlag = 8;

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
    std::uint8_t order[maxTbPieces] = {}; ///< piece codes in the order of the index
    indexLayout layout = {};
    blockCodec codec;
    const std::uint8_t *maps[dtzMapCount] = {}; ///< into the file, after the counts
    std::uint16_t mapCounts[dtzMapCount] = {};
};

/// A file ready for probing; read-only once made.
struct mappedTablebase
{
    fileMapping mapping; ///< empty if the bytes belong to the caller
    int sides = 1;
    subTable subTables[2][leadFiles];
};

/// Parses the header of a file, whose bytes must outlive the table. False if it is inconsistent; otherwise
/// no look-up reads outside the bytes.
bool readTbFile(mappedTablebase &table, const tbMaterial &material, tbKind kind, const std::uint8_t *data,
                std::size_t size);

enum class lookUp
{
    found,
    otherSide, ///< the DTZ file holds the other side to move only
    notStored, ///< not a position of this tablebase
    corrupt,   ///< the bytes are inconsistent
};

/// Looks up a position with the material of the tablebase. `flip` if white is the second side of its name.
/// `wdl` is the true WDL value if `kind` is `dtzKind`. If `found`, `value` is the WDL value -2 to 2, or
/// the distance in plies. No result is valid if the mapping `isDamaged` afterwards.
lookUp lookUpTb(const mappedTablebase &table, const tbMaterial &material, tbKind kind, const tbPosition &position,
                bool flip, int wdl, int &value);

} // namespace tarvonel

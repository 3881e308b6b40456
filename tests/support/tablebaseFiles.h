// Writes small tablebase files with made-up values, the same for all positions or random, and makes
// positions for probing them.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tablebase/tbFile.h"
#include "tablebase/tbPosition.h"

namespace tarvonel::tbTest
{

using byteRow = std::vector<std::uint8_t>;

/// One sub-table: its sections in the file, and the values that it encodes.
struct storedPart
{
    byteRow header, sparse, lengths, data;
    std::vector<int> values;
};

/// A sub-table in which every position has the value.
storedPart onePart(int value, int flags = 0);

struct codecForm
{
    int blockSizeBits, spanBits, flags;
};

/// At least `size` values, expanded from random pairs of the leaves (at most nine), with codes of 2 to
/// 12 bits.
storedPart randomPart(std::uint64_t size, const std::vector<int> &leaves, const codecForm &form);

/// A file of sub-tables by file, then by side. `pieces`: letters in the order of the index, upper case
/// for the first side of the name ("PKk"). `maps`: four for each mapped sub-table.
byteRow tableFileOf(const std::string &pieces, tbKind kind, const std::vector<storedPart> &parts,
                    const std::vector<std::vector<int>> &maps = {});

void writeBytes(const std::string &path, const byteRow &bytes);

/// A WDL file with one value (-2 to 2) for each side to move; `pieces` as above.
struct plainTable
{
    const char *name, *pieces;
    int first, second;
};
void writeTables(const std::string &directory, std::initializer_list<plainTable> tables);

/// Ignores castling rights and the move number.
tbPosition tablePosition(const std::string &fen);
/// The colours exchanged and the board mirrored.
tbPosition swappedColours(tbPosition position);

/// The pieces in a table's name on random squares, which may coincide, and a consistent position of them.
tbPosition scatteredPosition(const std::string &name, std::mt19937_64 &random);
tbPosition randomPosition(const std::string &name, std::mt19937_64 &random);

} // namespace tarvonel::tbTest

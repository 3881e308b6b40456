// Writes endgame table files: numbers the placements, compresses the values by pairs of symbols and
// canonical codes, and lays the file out. Written from the format, not from the engine's reader.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/tablebaseRules.h"

namespace tarvonel::endings
{

/// What a table may store for a position.
struct choice
{
    enum class freedom
    {
        exact,
        orLess, ///< any lower value too: a capture has it
        any     ///< no such position, or nobody asks
    };
    int value = 0; ///< WDL -2 to 2, or a distance with the sign of the side to move's result
    freedom range = freedom::any;
};
using chooser = std::function<choice(const ending &)>;

/// The order of the men in a sub-table and of the groups' factors; the default takes the men in a
/// fixed order and puts the leading group first.
struct placing
{
    std::string men; ///< letters, upper case for the first side: "KRkr"; empty for the default
    int order = 0, secondOrder = 1;
};

struct recipe
{
    placing places[2]; ///< by side to move
    int blockSizeBits = 5;
    int indexBits = 8;
    int maxPairs = 60;
    int files = 4; ///< with pawns: sub-tables beyond these hold no position that is asked for
    // WDL: whether both sides to move are stored.
    bool bothSides = true;
    // DTZ
    int storedSide = 0;
    bool mapped = true, wide = false, winPlies = true, lossPlies = true;
    /// DTZ: wins beyond the fifty-move rule, told by the position.
    std::function<bool(const ending &)> spoilt = nullptr;
};

std::vector<std::uint8_t> makeWdlTable(const std::string &name, const recipe &how, const chooser &choose);
std::vector<std::uint8_t> makeDtzTable(const std::string &name, const recipe &how, const chooser &choose);

/// A table in which all positions with the same side to move have one value.
std::vector<std::uint8_t> makeConstantWdlTable(const std::string &name, int firstSideValue, int secondSideValue);

/// All positions of a table in the order of its indices, first side to move for `side` 0. With pawns
/// those whose leading pawn stands on `file`.
void forAllIndices(const std::string &name, const placing &places, int side, int file,
                   const std::function<void(const ending &)> &use);

void writeBytes(const std::string &path, const std::vector<std::uint8_t> &bytes);

} // namespace tarvonel::endings

// Writes endgame table files: numbers the placements, compresses the values by pairs of symbols and
// canonical codes, and lays the file out. Written from the format, not from the engine's reader.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/tablebasePlacements.h"

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

struct recipe
{
    placing places[2]; ///< by side to move
    int blockSizeBits = 5;
    int indexBits = 8;
    int maxPairs = 60;
    int files = 4;                ///< with pawns: sub-tables beyond these hold no position that is asked for,
    std::uint16_t filler[2] = {}; ///< but everywhere this stored value, by side to move
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

void writeBytes(const std::string &path, const std::vector<std::uint8_t> &bytes);

} // namespace tarvonel::endings

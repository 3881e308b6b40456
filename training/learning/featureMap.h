// How the network's 49152 first-layer rows are learnt: as sums of rows that many of them share.
//
// A row belongs to a king square, a kind of man (six types, own or enemy) and its square, all seen
// from one side. Few positions show any single one of them, so each is the sum of one row from
// each chosen level:
//
//   base     one row for kind and square, whatever the king's square
//   region   eight regions of the king's square; boards with the king on the right half are
//            mirrored left to right
//   mirror   the king's square, likewise mirrored: 32 of them
//   free     a row of its own, a small correction
//
// The sum is what the network file holds: sharing costs the engine nothing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "eval/accumulator.h"

namespace tarvonel
{

inline constexpr int flipFiles = 7; ///< exclusive-or with a square: left and right exchanged

struct featureLevel
{
    std::string name;
    int rows = 0;
    std::vector<std::uint16_t> rowOf; ///< by feature
};

/// The levels named in a text like "base,region,free"; empty, with the reason in `error`, if a
/// name is unknown or none is given.
std::vector<featureLevel> makeLevels(const std::string &names, std::string &error);

/// Items in groups: those of group g are items[first[g]] to items[first[g + 1] - 1].
struct groupedItems
{
    std::vector<std::uint32_t> first;
    std::vector<std::uint32_t> items;
};

/// Sorts the indices of `groupOf` by their group (counting sort).
void groupItems(groupedItems &grouped, const std::vector<std::uint32_t> &groupOf, std::size_t groups);

/// Features that have the same row in each level are one and the same to the network as long as it
/// is learnt: a class. "base" and "region" leave a quarter as many classes as there are features.
struct featureClasses
{
    std::vector<std::uint32_t> classOf;     ///< by feature
    std::vector<std::uint32_t> featureOf;   ///< by class: one of its features
    std::vector<groupedItems> classesOfRow; ///< by level
};
featureClasses classifyFeatures(const std::vector<featureLevel> &levels);

} // namespace tarvonel

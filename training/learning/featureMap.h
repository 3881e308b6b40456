// Factorised input features: the network's 49152 first-layer rows are trained as sums of shared rows.
//
// A feature is a king square, a kind of piece (six types, own or enemy) and its square, all from one
// side's view. Any single feature is rare, so its row is the sum of one row from each chosen level:
//
//   base     by kind and square, for all king squares
//   region   also by one of eight regions of the king's square; with the king on the right half the
//            board is mirrored left to right
//   relative by kind and by the ranks and files between king and piece, mirrored in the same way
//   mirror   by kind, square and the king's square, mirrored in the same way: 32 of them
//   free     one row per feature, a small correction
//
// The network file holds the sums, so the engine pays nothing for it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "eval/network.h"

namespace tarvonel
{

inline constexpr int flipFiles = 7; ///< XOR with a square mirrors it left to right

struct featureLevel
{
    std::string name;
    int rows = 0;
    std::vector<std::uint16_t> rowOf; ///< by feature
};

/// The levels named in a text like "base,region,free". Throws std::invalid_argument for an unknown
/// name, or none.
std::vector<featureLevel> makeLevels(const std::string &names);

/// Items in groups: group g is items[first[g]] to items[first[g + 1] - 1].
struct groupedItems
{
    std::vector<std::uint32_t> first;
    std::vector<std::uint32_t> items;
};

/// Groups the indices of `groupOf` by its values, which are below `groups`.
void groupItems(groupedItems &grouped, const std::vector<std::uint32_t> &groupOf, std::size_t groups);

/// Features with the same row in every level form a class: they have the same sum. "base,region" has a
/// quarter as many classes as features.
struct featureClasses
{
    std::vector<std::uint32_t> classOf;     ///< by feature
    std::vector<std::uint32_t> featureOf;   ///< by class: any of its features
    std::vector<groupedItems> classesOfRow; ///< by level
};
featureClasses classifyFeatures(const std::vector<featureLevel> &levels);

} // namespace tarvonel

#include "learning/featureMap.h"
#include "words.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace tarvonel
{

namespace
{

// By the king's square, mirrored to files a to d, from its own side; a8 at top left.
constexpr std::uint8_t kingRegion[8][4] = {
    // clang-format off
    {7, 7, 7, 7},
    {7, 7, 7, 7},
    {7, 7, 7, 7},
    {7, 7, 7, 7},
    {6, 6, 6, 6},
    {5, 5, 5, 5},
    {3, 3, 4, 4},
    {0, 0, 1, 2},
    // clang-format on
};
constexpr int regionCount = 8;
constexpr int mirroredKings = 32;
constexpr int highestRank = 7, highestFile = 7, highestKingFile = 3;
constexpr int relativeRanks = 2 * highestRank + 1;
constexpr int relativeFiles = highestKingFile + highestFile + 1;

/// The parts of a feature, mirrored so that the king is on files a to d.
struct mirroredFeature
{
    int king, kind, square;
};

constexpr mirroredFeature mirrored(int feature)
{
    const int king = feature / kingSquareFeatures;
    const int flip = fileOf(king) >= 4 ? flipFiles : 0;
    return {king ^ flip, feature / squareCount % pieceKinds, (feature % squareCount) ^ flip};
}

int baseRow(int feature) { return feature % kingSquareFeatures; }
int regionRow(int feature)
{
    const mirroredFeature parts = mirrored(feature);
    const int region = kingRegion[7 - rankOf(parts.king)][fileOf(parts.king)];
    return (region * pieceKinds + parts.kind) * squareCount + parts.square;
}
int relativeRow(int feature)
{
    const mirroredFeature parts = mirrored(feature);
    const int ranks = rankOf(parts.square) - rankOf(parts.king) + highestRank;
    const int files = fileOf(parts.square) - fileOf(parts.king) + highestKingFile;
    return (parts.kind * relativeRanks + ranks) * relativeFiles + files;
}
int mirrorRow(int feature)
{
    const mirroredFeature parts = mirrored(feature);
    const int king = rankOf(parts.king) * 4 + fileOf(parts.king);
    return (king * pieceKinds + parts.kind) * squareCount + parts.square;
}
int freeRow(int feature) { return feature; }

struct knownLevel
{
    const char *name;
    int rows;
    int (*rowOf)(int feature);
};
const knownLevel knownLevels[] = {{"base", kingSquareFeatures, baseRow},
                                  {"region", regionCount *kingSquareFeatures, regionRow},
                                  {"relative", pieceKinds *relativeRanks *relativeFiles, relativeRow},
                                  {"mirror", mirroredKings *kingSquareFeatures, mirrorRow},
                                  {"free", featureCount, freeRow}};

featureLevel makeLevel(const knownLevel &known)
{
    featureLevel level{known.name, known.rows, std::vector<std::uint16_t>(featureCount)};
    for (int feature = 0; feature < featureCount; ++feature)
        level.rowOf[static_cast<std::size_t>(feature)] = static_cast<std::uint16_t>(known.rowOf(feature));
    return level;
}

} // namespace

std::vector<featureLevel> makeLevels(const std::string &names)
{
    std::string list = names;
    std::replace(list.begin(), list.end(), ',', ' ');
    std::vector<featureLevel> levels;
    for (const std::string &name : splitWords(list))
    {
        const auto *known =
            std::find_if(std::begin(knownLevels), std::end(knownLevels), [&](const auto &k) { return name == k.name; });
        if (known == std::end(knownLevels))
            throw std::invalid_argument("unknown level: " + name);
        levels.push_back(makeLevel(*known));
    }
    if (levels.empty())
        throw std::invalid_argument("no level");
    return levels;
}

void groupItems(groupedItems &grouped, const std::vector<std::uint32_t> &groupOf, std::size_t groups)
{
    // Counting sort. While items are placed, first[g + 1] is where the next one of group g goes.
    grouped.first.assign(groups + 2, 0);
    for (const std::uint32_t group : groupOf)
        ++grouped.first[group + 2];
    for (std::size_t group = 0; group < groups; ++group)
        grouped.first[group + 2] += grouped.first[group + 1];
    grouped.items.resize(groupOf.size());
    for (std::size_t i = 0; i < groupOf.size(); ++i)
        grouped.items[grouped.first[groupOf[i] + 1]++] = static_cast<std::uint32_t>(i);
    grouped.first.pop_back();
}

featureClasses classifyFeatures(const std::vector<featureLevel> &levels)
{
    featureClasses classes;
    std::map<std::vector<std::uint16_t>, std::uint32_t> known;
    for (std::size_t feature = 0; feature < featureCount; ++feature)
    {
        std::vector<std::uint16_t> rows;
        for (const featureLevel &level : levels)
            rows.push_back(level.rowOf[feature]);
        const auto [place, isNew] = known.try_emplace(rows, static_cast<std::uint32_t>(known.size()));
        if (isNew)
            classes.featureOf.push_back(static_cast<std::uint32_t>(feature));
        classes.classOf.push_back(place->second);
    }
    for (const featureLevel &level : levels)
    {
        std::vector<std::uint32_t> rowOfClass(classes.featureOf.size());
        std::ranges::transform(classes.featureOf, rowOfClass.begin(),
                               [&](std::uint32_t feature) { return level.rowOf[feature]; });
        groupItems(classes.classesOfRow.emplace_back(), rowOfClass, static_cast<std::size_t>(level.rows));
    }
    return classes;
}

} // namespace tarvonel

#include "support/tablebaseWriter.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <queue>

#include "tablebase/tableFile.h"

namespace tarvonel::endings
{

namespace
{

using symbolRow = std::vector<std::uint16_t>;
constexpr int constantFlag = 0x80;

/// Appends numbers of so many bytes, the lowest first.
template <typename... Numbers> void put(std::vector<std::uint8_t> &out, int bytesEach, Numbers... numbers)
{
    for (std::uint64_t number : {static_cast<std::uint64_t>(numbers)...})
        for (int i = 0; i < bytesEach; ++i, number >>= 8)
            out.push_back(static_cast<std::uint8_t>(number));
}
void append(std::vector<std::uint8_t> &out, const std::vector<std::uint8_t> &more)
{
    out.insert(out.end(), more.begin(), more.end());
}
void alignTo(std::vector<std::uint8_t> &out, std::size_t unit) { out.resize((out.size() + unit - 1) / unit * unit); }
bool hasPawns(const std::string &name) { return name.find('P') != std::string::npos; }

/// The four stretches of a compressed sub-table.
struct compressed
{
    std::vector<std::uint8_t> header, sparse, lengths, data;
};

constexpr std::size_t none = ~std::size_t{0};

struct symbol
{
    std::size_t left, right; ///< right `none`: a leaf with the value `left`
    std::size_t values;
};

/// Replaces the most frequent neighbours by a new symbol, over and over.
void pairUp(symbolRow &row, std::vector<symbol> &symbols, int maxPairs)
{
    constexpr int minPairs = 20;
    const std::size_t room = symbols.size() + static_cast<std::size_t>(maxPairs);
    for (int round = 0; round < maxPairs; ++round)
    {
        std::vector<unsigned> counts(room * room, 0);
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            ++counts[row[i] * room + row[i + 1]];
        std::size_t best = 0;
        for (std::size_t pair = 0; pair < counts.size(); ++pair)
            if (counts[pair] > counts[best] && symbols[pair / room].values + symbols[pair % room].values <= 256)
                best = pair;
        const std::size_t left = best / room, right = best % room;
        const std::size_t values = symbols[left].values + symbols[right].values;
        if (counts[best] < minPairs || values > 256)
            return;
        const auto made = static_cast<std::uint16_t>(symbols.size());
        symbols.push_back({left, right, values});
        std::size_t kept = 0;
        for (std::size_t i = 0; i < row.size(); ++i, ++kept)
            if (row[i] == left && i + 1 < row.size() && row[i + 1] == right)
            {
                row[kept] = made;
                ++i;
            }
            else
                row[kept] = row[i];
        row.resize(kept);
    }
}

/// Huffman's code lengths.
std::vector<int> codeLengths(const symbolRow &row, std::size_t symbolCount)
{
    struct node
    {
        std::uint64_t weight;
        int index;
        bool operator<(const node &other) const
        {
            return weight != other.weight ? weight > other.weight : index > other.index;
        }
    };
    std::vector<std::uint64_t> weights(symbolCount, 1);
    for (const std::uint16_t entry : row)
        ++weights[entry];
    std::priority_queue<node> open;
    std::vector<int> parents;
    for (std::size_t i = 0; i < symbolCount; ++i)
        open.push({weights[i], static_cast<int>(i)});
    parents.resize(symbolCount, -1);
    while (open.size() > 1)
    {
        const node a = open.top();
        open.pop();
        const node b = open.top();
        open.pop();
        const int made = static_cast<int>(parents.size());
        parents.push_back(-1);
        parents[static_cast<std::size_t>(a.index)] = parents[static_cast<std::size_t>(b.index)] = made;
        open.push({a.weight + b.weight, made});
    }
    std::vector<int> lengths(symbolCount, 0);
    for (std::size_t i = 0; i < symbolCount; ++i)
        for (int at = parents[i]; at >= 0; at = parents[static_cast<std::size_t>(at)])
            ++lengths[i];
    return lengths;
}

compressed compress(const symbolRow &values, const recipe &how, int flags)
{
    compressed result;
    if (std::equal(values.begin() + 1, values.end(), values.begin()))
    {
        // Only the stored side goes with it; a distance is then 0.
        put(result.header, 1, (flags & dtzSideFlag) | constantFlag, values[0]);
        return result;
    }
    std::vector<symbol> symbols;
    std::map<int, std::uint16_t> leaves;
    symbolRow row;
    for (const std::uint16_t value : values)
    {
        const auto [leaf, added] = leaves.try_emplace(value, static_cast<std::uint16_t>(symbols.size()));
        if (added)
            symbols.push_back({value, none, 1});
        row.push_back(leaf->second);
    }
    pairUp(row, symbols, how.maxPairs);

    // Number the symbols so that longer codes have lower numbers.
    const std::vector<int> lengths = codeLengths(row, symbols.size());
    std::vector<std::size_t> byNumber(symbols.size()), number(symbols.size());
    for (std::size_t i = 0; i < symbols.size(); ++i)
        byNumber[i] = i;
    std::stable_sort(byNumber.begin(), byNumber.end(), [&](auto a, auto b) { return lengths[a] > lengths[b]; });
    for (std::size_t i = 0; i < symbols.size(); ++i)
        number[byNumber[i]] = i;
    const int longest = *std::max_element(lengths.begin(), lengths.end());
    const int shortest = *std::min_element(lengths.begin(), lengths.end());
    std::vector<unsigned> first, lowest; // by length
    for (int length = shortest; length <= longest; ++length)
        first.push_back(
            static_cast<unsigned>(std::count_if(lengths.begin(), lengths.end(), [&](int l) { return l > length; })));
    lowest.resize(first.size(), 0);
    for (std::size_t i = first.size() - 1; i-- > 0;)
        lowest[i] = (lowest[i + 1] + first[i] - first[i + 1]) / 2;

    // Blocks of whole symbols.
    const std::size_t blockBits = std::size_t{8} << how.blockSizeBits;
    std::vector<std::uint64_t> starts; // first value of each block
    std::vector<unsigned> blockValues;
    std::size_t usedBits = blockBits;
    std::uint64_t done = 0;
    for (const std::uint16_t entry : row)
    {
        const int length = lengths[entry];
        const auto count = static_cast<unsigned>(symbols[entry].values);
        if (usedBits + static_cast<std::size_t>(length) > blockBits || blockValues.back() + count > 65536)
        {
            starts.push_back(done);
            blockValues.push_back(0);
            result.data.resize(starts.size() << how.blockSizeBits, 0);
            usedBits = 0;
        }
        const auto level = static_cast<std::size_t>(length - shortest);
        const unsigned code = lowest[level] + static_cast<unsigned>(number[entry]) - first[level];
        for (int i = length - 1; i >= 0; --i, ++usedBits)
            if (code >> i & 1)
                result.data[((starts.size() - 1) << how.blockSizeBits) + usedBits / 8] |=
                    static_cast<std::uint8_t>(0x80 >> usedBits % 8);
        blockValues.back() += count;
        done += count;
    }

    // The sparse index, and lengths of blocks that there are not, so that it can point beyond the end.
    const std::uint64_t span = std::uint64_t{1} << how.indexBits;
    const std::uint64_t spans = (values.size() + span - 1) / span;
    const std::size_t blocks = starts.size();
    std::uint64_t end = done;
    while (end <= (spans - 1) * span + span / 2)
    {
        starts.push_back(end);
        blockValues.push_back(65536);
        end += 65536;
    }
    for (std::uint64_t i = 0; i < spans; ++i)
    {
        const std::uint64_t middle = i * span + span / 2;
        const auto block = std::upper_bound(starts.begin(), starts.end(), middle) - starts.begin() - 1;
        put(result.sparse, 4, block);
        put(result.sparse, 2, middle - starts[static_cast<std::size_t>(block)]);
    }
    for (const unsigned count : blockValues)
        put(result.lengths, 2, count - 1);

    put(result.header, 1, flags, how.blockSizeBits, how.indexBits, starts.size() - blocks);
    put(result.header, 4, blocks);
    put(result.header, 1, longest, shortest);
    for (const unsigned entry : first)
        put(result.header, 2, entry);
    put(result.header, 2, symbols.size());
    for (const std::size_t at : byNumber)
    {
        const symbol &entry = symbols[at];
        const bool leaf = entry.right == none;
        const std::size_t left = leaf ? entry.left : number[entry.left], right = leaf ? 0xFFF : number[entry.right];
        put(result.header, 3, left | right << 12);
    }
    alignTo(result.header, 2);
    return result;
}

/// The sub-table's values; where it may choose, it goes on with the last one.
symbolRow rowOf(const std::string &name, const recipe &how, const placing &places, int side, int file,
                const chooser &choose, const std::function<int(const ending &, int)> &encode)
{
    if (file >= how.files)
        return {how.filler[side]};
    symbolRow row;
    choice last{0, choice::freedom::exact};
    int stored = -1;
    std::size_t open = 0; // positions before the first that is bound
    forAllIndices(name, places, side, file,
                  [&](const ending &position)
                  {
                      const choice wanted = isPossible(position) ? choose(position) : choice{};
                      const bool keep =
                          wanted.range == choice::freedom::any ||
                          (wanted.range == choice::freedom::orLess && last.value <= wanted.value && stored >= 0);
                      if (!keep)
                      {
                          last = wanted;
                          stored = encode(position, wanted.value);
                      }
                      if (stored < 0)
                          ++open;
                      else
                          row.push_back(static_cast<std::uint16_t>(stored));
                  });
    row.insert(row.begin(), open, row.empty() ? std::uint16_t{0} : row.front());
    return row;
}

std::vector<std::uint8_t> startFile(const std::string &name, tableKind kind, const recipe &how, int sides)
{
    std::vector<std::uint8_t> out;
    put(out, 4, tableMagics[kind]);
    const bool pawns = hasPawns(name);
    const bool pawnsOnBoth =
        pawns && name.find('P') < name.find('v') && name.find('P', name.find('v')) != std::string::npos;
    put(out, 1, (sides == 2 ? 1 : 0) | (pawns ? 2 : 0));
    const auto both = [&](int low, int high) { put(out, 1, low | (sides == 2 ? high : low) << 4); };
    for (int file = 0; file < (pawns ? 4 : 1); ++file)
    {
        both(how.places[0].order, how.places[1].order);
        if (pawnsOnBoth)
            both(how.places[0].secondOrder, how.places[1].secondOrder);
        const std::string rows[2] = {placesOf(name, how.places[0]), placesOf(name, how.places[1])};
        const auto code = [](char man)
        {
            const bool second = std::islower(man) != 0;
            return static_cast<int>(menLetters.find(static_cast<char>(std::toupper(man)))) + 1 + (second ? 8 : 0);
        };
        for (std::size_t i = 0; i < rows[0].size(); ++i)
            both(code(rows[0][i]), code(rows[1][i]));
    }
    alignTo(out, 2);
    return out;
}

void finishFile(std::vector<std::uint8_t> &out, const std::vector<compressed> &parts)
{
    alignTo(out, 2);
    for (const compressed &part : parts)
        append(out, part.sparse);
    for (const compressed &part : parts)
        append(out, part.lengths);
    for (const compressed &part : parts)
    {
        alignTo(out, 64);
        append(out, part.data);
    }
    alignTo(out, 64);
    out.insert(out.end(), 16, 0xA5);
}

} // namespace

std::vector<std::uint8_t> makeWdlTable(const std::string &name, const recipe &how, const chooser &choose)
{
    const int sides = how.bothSides ? 2 : 1;
    std::vector<std::uint8_t> out = startFile(name, wdlKind, how, sides);
    std::vector<compressed> parts;
    for (int file = 0; file < (hasPawns(name) ? 4 : 1); ++file)
        for (int side = 0; side < sides; ++side)
        {
            parts.push_back(compress(rowOf(name, how, how.places[side], side, file, choose,
                                           [](const ending &, int value) { return value + 2; }),
                                     how, 0));
            append(out, parts.back().header);
        }
    finishFile(out, parts);
    return out;
}

std::vector<std::uint8_t> makeConstantWdlTable(const std::string &name, int firstSideValue, int secondSideValue)
{
    recipe how;
    how.files = 0;
    how.filler[0] = static_cast<std::uint16_t>(firstSideValue + 2);
    how.filler[1] = static_cast<std::uint16_t>(secondSideValue + 2);
    return makeWdlTable(name, how, nullptr);
}

std::vector<std::uint8_t> makeDtzTable(const std::string &name, const recipe &how, const chooser &choose)
{
    std::vector<std::uint8_t> out = startFile(name, dtzKind, how, 1);
    std::vector<compressed> parts;
    const int flags = how.storedSide | (how.mapped ? dtzMappedFlag : 0) | (how.winPlies ? dtzWinPliesFlag : 0) |
                      (how.lossPlies ? dtzLossPliesFlag : 0) | (how.mapped && how.wide ? dtzWideMapFlag : 0);
    std::vector<std::vector<unsigned>> mapsOfFile[4];
    const int files = hasPawns(name) ? 4 : 1;
    for (int file = 0; file < files; ++file)
    {
        // Wins, losses, spoilt wins, saved losses.
        mapsOfFile[file].resize(4);
        const auto encode = [&](const ending &position, int value)
        {
            const bool isSpoilt = how.spoilt && how.spoilt(position);
            const int distance = std::abs(value) - (isSpoilt ? 101 : 1);
            const bool plies = !isSpoilt && (value > 0 ? how.winPlies : how.lossPlies);
            const auto stored = static_cast<unsigned>(plies ? distance : distance / 2);
            if (!how.mapped)
                return static_cast<int>(stored);
            auto &map = mapsOfFile[file][(value > 0 ? 0u : 1u) + (isSpoilt ? 2u : 0u)];
            const auto found = std::find(map.begin(), map.end(), stored);
            if (found != map.end())
                return static_cast<int>(found - map.begin());
            map.push_back(stored);
            return static_cast<int>(map.size()) - 1;
        };
        parts.push_back(compress(rowOf(name, how, how.places[0], how.storedSide, file, choose, encode), how, flags));
        append(out, parts.back().header);
    }
    for (int file = 0; file < files && how.mapped; ++file)
    {
        if (parts[static_cast<std::size_t>(file)].header[0] & constantFlag)
            continue;
        if (how.wide)
            alignTo(out, 2);
        for (const auto &map : mapsOfFile[file])
        {
            put(out, how.wide ? 2 : 1, map.size());
            for (const unsigned value : map)
                put(out, how.wide ? 2 : 1, value);
        }
    }
    finishFile(out, parts);
    return out;
}

void writeBytes(const std::string &path, const std::vector<std::uint8_t> &bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

} // namespace tarvonel::endings

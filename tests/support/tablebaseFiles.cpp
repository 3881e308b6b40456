#include "support/tablebaseFiles.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <string_view>

namespace tarvonel::tbTest
{

namespace
{

constexpr std::string_view letters = "PNBRQK"; ///< by pieceType
constexpr std::size_t noPart = 0xFFF;          ///< the right child of a leaf

void put(byteRow &out, int size, std::uint64_t number)
{
    for (int i = 0; i < size; ++i)
        out.push_back(static_cast<std::uint8_t>(number >> 8 * i));
}

void append(byteRow &out, const byteRow &more) { out.insert(out.end(), more.begin(), more.end()); }
void align(byteRow &out, std::size_t unit) { out.resize((out.size() + unit - 1) / unit * unit, 0); }

void putPiece(tbPosition &position, char letter, int square)
{
    (std::isupper(letter) ? position.white : position.black) |= bit(square);
    position.*typeSets[letters.find(static_cast<char>(std::toupper(letter)))] |= bit(square);
}

} // namespace

storedPart onePart(int value, int flags)
{
    storedPart part;
    put(part.header, 1, static_cast<std::uint64_t>(0x80 | flags));
    put(part.header, 1, static_cast<std::uint64_t>(value));
    return part;
}

storedPart randomPart(std::uint64_t size, const std::vector<int> &leaves, const codecForm &form)
{
    // Three codes of 2 bits, three of 4, and so on, one more of the longest; longer codes first.
    constexpr unsigned symbolCount = 19, perLength = 3, shortest = 2, longest = 12;
    const auto bitsOf = [&](unsigned symbol)
    { return std::min(shortest * ((symbolCount - 1 - symbol) / perLength + 1), longest); };
    unsigned first[longest + 1] = {}, lowest[longest + 1] = {};
    for (unsigned bits = longest; bits >= shortest; --bits)
        for (unsigned symbol = 0; symbol < symbolCount; ++symbol)
            first[bits] += bitsOf(symbol) > bits;
    for (unsigned bits = longest - 1; bits >= shortest; --bits)
        lowest[bits] = (lowest[bits + 1] + first[bits] - first[bits + 1]) / 2;

    std::mt19937_64 random(size);
    std::vector<std::vector<int>> texts; // what the symbols expand to
    byteRow tree;
    while (texts.size() < symbolCount)
    {
        std::size_t left = static_cast<std::size_t>(leaves[std::min(texts.size(), leaves.size() - 1)]), right = noPart;
        std::vector<int> text{static_cast<int>(left)};
        if (texts.size() >= leaves.size())
        {
            do
            {
                left = random() % texts.size();
                right = random() % texts.size();
            } while (texts[left].size() + texts[right].size() > 256);
            text = texts[left];
            text.insert(text.end(), texts[right].begin(), texts[right].end());
        }
        texts.push_back(text);
        put(tree, 3, left | right << 12);
    }

    storedPart part;
    std::vector<std::uint64_t> starts; // first value of each block
    const std::size_t blockBits = std::size_t{8} << form.blockSizeBits;
    for (std::size_t used = blockBits; part.values.size() < size;)
    {
        const auto symbol = static_cast<unsigned>(random() % symbolCount);
        const unsigned bits = bitsOf(symbol), code = lowest[bits] + symbol - first[bits];
        if (used + bits > blockBits)
        {
            starts.push_back(part.values.size());
            part.data.resize(starts.size() * blockBits / 8);
            used = 0;
        }
        for (unsigned i = bits; i-- > 0; ++used)
            part.data[(starts.size() - 1) * blockBits / 8 + used / 8] |=
                static_cast<std::uint8_t>((code >> i & 1) << (7 - used % 8));
        part.values.insert(part.values.end(), texts[symbol].begin(), texts[symbol].end());
    }

    // Lengths beyond the last block: the last span's middle may be past the end.
    const std::uint64_t blocks = starts.size(), span = std::uint64_t{1} << form.spanBits;
    for (starts.push_back(part.values.size()); starts.back() < size + span; starts.push_back(starts.back() + 65536))
        ;
    for (std::uint64_t middle = span / 2; middle < size + span / 2; middle += span)
    {
        const auto block = std::upper_bound(starts.begin(), starts.end(), middle) - starts.begin() - 1;
        put(part.sparse, 4, static_cast<std::uint64_t>(block));
        put(part.sparse, 2, middle - starts[static_cast<std::size_t>(block)]);
    }
    for (std::size_t i = 1; i < starts.size(); ++i)
        put(part.lengths, 2, starts[i] - starts[i - 1] - 1);

    for (const std::uint64_t byte :
         {static_cast<std::uint64_t>(form.flags), static_cast<std::uint64_t>(form.blockSizeBits),
          static_cast<std::uint64_t>(form.spanBits), starts.size() - 1 - blocks})
        put(part.header, 1, byte);
    put(part.header, 4, blocks);
    put(part.header, 1, longest);
    put(part.header, 1, shortest);
    for (unsigned bits = shortest; bits <= longest; ++bits)
        put(part.header, 2, first[bits]);
    put(part.header, 2, symbolCount);
    append(part.header, tree);
    put(part.header, symbolCount % 2, 0);
    return part;
}

byteRow tableFileOf(const std::string &pieces, tbKind kind, const std::vector<storedPart> &parts,
                    const std::vector<std::vector<int>> &maps)
{
    const bool pawns = pieces.find_first_of("Pp") != std::string::npos;
    const bool pawnsOnBoth = pieces.find('P') != std::string::npos && pieces.find('p') != std::string::npos;
    const std::size_t files = pawns ? leadFiles : 1;
    byteRow out;
    put(out, 4, tbMagics[kind]);
    put(out, 1, (parts.size() > files ? 1u : 0u) | (pawns ? 2u : 0u));
    for (std::size_t file = 0; file < files; ++file)
    {
        put(out, 1, 0); // the leading group's factor comes first, then that of the other side's pawns
        if (pawnsOnBoth)
            put(out, 1, 0x11);
        for (const char piece : pieces)
        {
            const auto type = letters.find(static_cast<char>(std::toupper(piece)));
            put(out, 1, 0x11 * (type + 1 + (std::islower(piece) ? secondSideFlag : 0u)));
        }
    }
    align(out, 2);
    for (const storedPart &part : parts)
        append(out, part.header);
    auto map = maps.begin();
    for (const storedPart &part : parts)
    {
        if (kind != dtzKind || !(part.header[0] & dtzMappedFlag))
            continue;
        const int width = part.header[0] & dtzWideMapFlag ? 2 : 1;
        align(out, static_cast<std::size_t>(width));
        for (int i = 0; i < dtzMapCount; ++i, ++map)
        {
            put(out, width, map->size());
            for (const int value : *map)
                put(out, width, static_cast<std::uint64_t>(value));
        }
    }
    align(out, 2);
    for (const storedPart &part : parts)
        append(out, part.sparse);
    for (const storedPart &part : parts)
        append(out, part.lengths);
    for (const storedPart &part : parts)
    {
        align(out, 64);
        append(out, part.data);
    }
    align(out, tbSizeUnit);
    out.resize(out.size() + tbSizeRest);
    return out;
}

void writeBytes(const std::string &path, const byteRow &bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void writeTables(const std::string &directory, std::initializer_list<plainTable> tables)
{
    for (const auto &[name, pieces, first, second] : tables)
    {
        std::vector<storedPart> parts;
        for (int file = 0; file < (std::string_view(name).find('P') != std::string::npos ? leadFiles : 1); ++file)
            parts.insert(parts.end(), {onePart(first + 2), onePart(second + 2)});
        writeBytes(directory + "/" + name + ".rtbw", tableFileOf(pieces, wdlKind, parts));
    }
}

tbPosition tablePosition(const std::string &fen)
{
    std::istringstream words(fen);
    std::string board, turn, castling, enPassant;
    int rule50 = 0;
    words >> board >> turn >> castling >> enPassant >> rule50;
    tbPosition position = {};
    int square = a8;
    for (const char letter : board)
        if (letter == '/')
            square -= 16;
        else if (std::isdigit(letter))
            square += letter - '0';
        else
            putPiece(position, letter, square++);
    position.turn = turn == "w";
    position.rule50 = static_cast<std::uint8_t>(rule50);
    if (enPassant.size() == 2)
        position.ep = static_cast<std::uint8_t>(squareAt(enPassant[0] - 'a', enPassant[1] - '1'));
    return position;
}

tbPosition swappedColours(tbPosition position)
{
    for (const auto set : {&tbPosition::white, &tbPosition::black, &tbPosition::pawns, &tbPosition::knights,
                           &tbPosition::bishops, &tbPosition::rooks, &tbPosition::queens, &tbPosition::kings})
        position.*set = __builtin_bswap64(position.*set);
    std::swap(position.white, position.black);
    position.turn ^= 1;
    position.ep ^= position.ep ? flipRanks : 0;
    return position;
}

tbPosition scatteredPosition(const std::string &name, std::mt19937_64 &random)
{
    tbPosition position = {};
    const std::size_t middle = name.find('v');
    for (std::size_t i = 0; i < name.size(); ++i)
        if (i != middle)
            putPiece(position, i < middle ? name[i] : static_cast<char>(std::tolower(name[i])),
                     static_cast<int>(random() % squareCount));
    position.turn = random() % 2;
    return random() % 2 ? position : swappedColours(position);
}

tbPosition randomPosition(const std::string &name, std::mt19937_64 &random)
{
    for (;;)
        if (const tbPosition position = scatteredPosition(name, random);
            popCount(allPieces(position)) == static_cast<int>(name.size()) - 1 && tbValid(position))
            return position;
}

} // namespace tarvonel::tbTest

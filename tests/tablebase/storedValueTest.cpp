// What is stored comes back: every index of table files with made-up values, in all forms of the
// format, and through all the board's symmetries.

#include <gtest/gtest.h>

#include "support/tablebaseWorld.h"
#include "tablebase/tableProbe.h"
#include "tablebase/tableRegistry.h"

namespace tarvonel
{

using namespace endings;

namespace
{

using freedom = choice::freedom;

struct layoutCase
{
    const char *name;
    recipe how;
    const char *what;
};

recipe placed(const placing &first, const placing &second, int blockSizeBits = 5, int indexBits = 8,
              bool bothSides = true)
{
    recipe how;
    how.bothSides = bothSides;
    how.places[0] = first;
    how.places[1] = second;
    how.blockSizeBits = blockSizeBits;
    how.indexBits = indexBits;
    return how;
}

std::uint64_t mixed(const ending &position, int salt)
{
    std::uint64_t hash = static_cast<std::uint64_t>(salt * 2 + position.turn) + 0x9E3779B97F4A7C15;
    for (int i = 0; i < position.count; ++i)
        hash =
            (hash ^ static_cast<std::uint64_t>(position.squares[i] * 16 + position.types[i] * 2 + position.sides[i])) *
            0xBF58476D1CE4E5B9;
    return hash ^ hash >> 29;
}

/// Long stretches of equal values, and changing ones.
int madeUpWdl(const ending &position)
{
    const std::uint64_t hash = mixed(position, 1);
    return hash % 4 != 0 ? 2 - position.squares[0] % 5 : static_cast<int>(hash / 4 % 5) - 2;
}

/// One of the positions that share the table's entry.
ending image(const ending &position, unsigned which, bool pawns)
{
    // Two leading pawns that mirror each other lead from the left in both images: each has its entry.
    const bool ownMirror = position.types[0] == pawn && position.types[1] == pawn &&
                           position.sides[0] == position.sides[1] && position.squares[0] == (position.squares[1] ^ 7);
    ending result = position;
    if ((which & 1) && !ownMirror)
        result = mirrored(result, 7);
    if (!pawns && (which & 2))
        result = mirrored(result, 56);
    // With the leading men all on the diagonal both sides of it have entries of their own.
    const auto onDiagonal = [](int square) { return fileOf(square) == rankOf(square); };
    if (!pawns && (which & 4) && !(onDiagonal(position.squares[0]) && onDiagonal(position.squares[1])))
        result = transposed(result);
    return which & 8 ? swappedColours(result) : result;
}

/// Compares every position of a sub-table with what the table gives for one of its images.
template <typename Expected>
void expectAll(const std::string &name, const placing &places, int side, tableKind kind, Expected &&expected)
{
    const bool pawns = name.find('P') != std::string::npos;
    tally result;
    for (int file = 0; file < (pawns ? 4 : 1); ++file)
        forAllIndices(name, places, side, file,
                      [&](const ending &position)
                      {
                          if (!isPossible(position))
                              return;
                          int wdl = 0;
                          const int wanted = expected(position, wdl);
                          for (const unsigned which : {0u, static_cast<unsigned>(mixed(position, 7) & 15)})
                          {
                              const ending asked = image(position, which, pawns);
                              int success = 1;
                              const int got = probeTable(toTbPosition(asked), wdl, success, kind);
                              result.compare(asked, wanted, got, success == 1);
                          }
                      });
    result.expectNoneWrong(name + " side " + std::to_string(side), 10000);
}

void expectWdlReadBack(const layoutCase &c)
{
    const temporaryDirectory directory;
    writeBytes(directory / (std::string(c.name) + ".rtbw"),
               makeWdlTable(c.name, c.how,
                            [](const ending &position) {
                                return choice{madeUpWdl(position), freedom::exact};
                            }));
    initTablebases(directory.path);
    SCOPED_TRACE(c.what);
    for (int side = 0; side < (c.how.bothSides ? 2 : 1); ++side)
        expectAll(c.name, c.how.places[side], side, wdlKind,
                  [](const ending &position, int &) { return madeUpWdl(position); });
}

const layoutCase quickLayouts[] = {
    {"KQvK", recipe{}, "three single pieces"},
    {"KQvK", placed({"kQK", 0, 0}, {"QKk", 0, 0}, 9, 12), "another order of places for each side, large blocks"},
    {"KRRvK", placed({"KkRR", 0, 0}, {"kKRR", 1, 0}), "king pair, the leading factor last"},
    {"KPvK", placed({"PKk", 0, 0}, {"PkK", 2, 0}, 5, 5), "one pawn"},
};
const layoutCase slowLayouts[] = {
    {"KBvKB", placed({}, {}, 5, 8, false), "symmetric"},
    {"KQRvK", placed({"RKkQ", 1, 0}, {"QRkK", 0, 0}, 6, 14), "a fourth single piece"},
    {"KPPvK", placed({"PPKk", 1, 0}, {"PPkK", 0, 0}), "two leading pawns"},
    {"KNvKP", placed({"pKNk", 2, 0}, {"pNkK", 0, 0}), "the second side's pawn leads"},
    {"KPvKP", placed({"PpKk", 1, 3}, {}, 5, 8, false), "pawns on both sides, symmetric"},
};

/// Distances with all classes: wins and losses, some beyond the fifty-move rule.
struct madeUpDistance
{
    int wdl, plies;
};
madeUpDistance distanceOf(const ending &position)
{
    const std::uint64_t hash = mixed(position, 3);
    const int wdl = std::array{-2, -1, 1, 2}[hash % 4];
    const int span = std::abs(wdl) == 2 ? 100 : 200;
    return {wdl,
            static_cast<int>(hash / 8 % 3 != 0 ? static_cast<std::uint64_t>(position.squares[0]) : hash / 64 % span)};
}

void expectDtzReadBack(const char *name, const recipe &how)
{
    const temporaryDirectory directory;
    writeBytes(directory / (std::string(name) + ".rtbw"),
               makeWdlTable(name, {}, [](const ending &) { return choice{}; }));
    recipe full = how;
    full.spoilt = [](const ending &position) { return std::abs(distanceOf(position).wdl) == 1; };
    writeBytes(directory / (std::string(name) + ".rtbz"),
               makeDtzTable(name, full,
                            [](const ending &position)
                            {
                                const auto [wdl, plies] = distanceOf(position);
                                const int value = plies + (std::abs(wdl) == 1 ? 101 : 1);
                                return choice{wdl > 0 ? value : -value, freedom::exact};
                            }));
    initTablebases(directory.path);
    expectAll(name, how.places[0], how.storedSide, dtzKind,
              [&](const ending &position, int &wdl)
              {
                  const madeUpDistance made = distanceOf(position);
                  wdl = made.wdl;
                  const bool exact = (wdl == 2 && how.winPlies) || (wdl == -2 && how.lossPlies);
                  return exact ? made.plies : made.plies / 2 * 2;
              });
    forAllIndices(name, how.places[0], opponent(how.storedSide), 0,
                  [&](const ending &position)
                  {
                      int success = 1;
                      if (mixed(position, 5) % 64 == 0 && isPossible(position))
                      {
                          probeTable(toTbPosition(position), 2, success, dtzKind);
                          EXPECT_EQ(success, -1) << "the side to move that is not stored";
                      }
                  });
}

} // namespace

TEST(tableStoredValues, everyWdlValueComesBackInEachLayout)
{
    for (const layoutCase &c : quickLayouts)
        expectWdlReadBack(c);
}

TEST(slowTablebaseStoredValues, everyWdlValueComesBackInLargeLayouts)
{
    for (const layoutCase &c : slowLayouts)
        expectWdlReadBack(c);
}

TEST(tableStoredValues, distancesComeBackThroughMapsAndDoubling)
{
    struct formCase
    {
        const char *name;
        bool mapped, wide, winPlies, lossPlies;
        int storedSide;
        placing places;
    };
    const formCase cases[] = {
        {"KRvK", false, false, false, false, 0, {"RkK", 0, 0}}, {"KRvK", false, false, true, true, 0, {"RkK", 0, 0}},
        {"KRvK", true, false, false, false, 0, {"kKR", 0, 0}},  {"KRvK", true, false, true, true, 0, {"kKR", 0, 0}},
        {"KRvK", true, true, false, true, 1, {"kKR", 0, 0}},    {"KRvK", true, true, true, false, 1, {"kKR", 0, 0}},
        {"KPvK", true, true, true, true, 0, {"PKk", 1, 0}}};
    for (const formCase &c : cases)
    {
        recipe how;
        how.mapped = c.mapped;
        how.wide = c.wide;
        how.winPlies = c.winPlies;
        how.lossPlies = c.lossPlies;
        how.storedSide = c.storedSide;
        how.places[0] = c.places;
        SCOPED_TRACE(std::to_string(&c - cases));
        expectDtzReadBack(c.name, how);
    }
}

} // namespace tarvonel

// Solves endings of three and four men: the truth that the endgame tables are held against, and what
// the tests' own table files are written from.
//
// A value is a distance to a zeroing move in plies, from the side to move's view: above 0 for wins, 1
// for a zeroing move or mate at once; below 0 for losses, -1 when mated; 0 for draws.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "support/tablebaseRules.h"

namespace tarvonel::endings
{

constexpr int signOf(int value) { return (value > 0) - (value < 0); }

class endingSolver
{
  public:
    /// Which placements of the pawns to solve.
    using pawnFilter = bool (*)(const ending &);

    /// Solves an ending; what it can turn into is solved or assumed before. With a filter that every
    /// pawn move keeps to only the placements that pass.
    void solve(const std::string &name, pawnFilter wanted = nullptr);

    /// Takes an ending as won (1), drawn (0) or lost (-1) for the first side, but for what captures at
    /// once change: cuts off what would be too long to solve.
    void assume(const std::string &name, int firstSideResult);

    /// The value with and without regard to the en passant square.
    int value(const ending &position) const;
    int valueWithoutEp(const ending &position) const;

  private:
    struct solved
    {
        ending men;                      ///< the order of the squares in the index
        int assumed = 0;                 ///< the result, where there are no values
        std::vector<std::int8_t> values; ///< by side to move and squares
    };

    void solveSlice(solved &table, ending &position, int pawns) const;

    std::map<std::uint32_t, solved> tables;
};

} // namespace tarvonel::endings

// The parameters of the tuner, each a value in a table of the evaluation, and the output of those tables
// as source text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tuner/tunerOutput.h"

namespace tarvonel
{

/// The step sizes, smallest first.
inline constexpr int tuningSteps[] = {1, 2, 3, 5, 9};

/// The form of a table in the output. Other values below `firstBoardRow` are braced tables too.
enum printForm : int
{
    bracedTable = 0,
    singleConstant = 1,
    alsoSingleConstant = 3,
    bracedAfterZero = 5,         ///< by piece type, no value for the pawn
    bracedBetweenZeros = 6,      ///< no value for the king either
    bracedBetweenTwoAndZero = 7, ///< two leading zeros
    bracedIntegersAfterZero = 8,
    bracedPieceValues = 9, ///< with the fixed values of pawn and king
    firstBoardRow = 10,    ///< the first table of `pieceSquareScore`, which opens the brace
    middleBoardRow = 11,
    lastBoardRow = 12, ///< closes the brace
};

struct tuningParameter
{
    std::string name; ///< of its table
    std::int32_t *value;
    std::uint32_t tableSize; ///< entries of the table, without mirror images
    int tableStart;          ///< where the table begins in the list
    int singleHalf;          ///< above 0: one parameter per entry; 0: two, middle game and end game
    int printKind;           ///< a `printForm`
    int stepIndex;           ///< into `tuningSteps`: the largest step that is still tried
    bool isPair;             ///< entries are combEvals, printed as X(mg, eg)
    bool pawnRows;           ///< eight zeros precede and follow the table in memory
    bool mirrored;           ///< entries are files a to d; each also sets its mirror image in the row
    bool wholeValue;         ///< steps change the 32-bit value, so the middle-game half; else the end-game half
};

using parameterList = std::vector<tuningParameter>;

/// Which of a table's values are parameters.
enum class tunedHalves
{
    both,
    middleGame,
    endGame,
    integer, ///< the entries are plain numbers
};

/// A table, or a single constant, to register. `name` and `first` are required.
struct tuningTable
{
    std::string name; ///< in the output, array bounds included
    std::int32_t *first;
    std::uint32_t size = 1; ///< entries from `first` on; with `mirrored` only those of files a to d
    tunedHalves halves = tunedHalves::both;
    int printKind = bracedTable;
    int stepIndex = 2;
    bool pawnRows = false;
    bool mirrored = false; ///< the entries are in rows of eight
};

/// Adds a parameter for each value of the table.
void addTable(parameterList &parameters, const tuningTable &table);

/// Adds `amount` to a parameter, and sets its mirror image if it has one.
void applyStep(const parameterList &parameters, std::size_t index, int amount);

/// Sets the mirror images of all parameters that have one.
void writeMirrorImages(const parameterList &parameters);

/// Prints the source text of all tables; nothing for an empty list.
void printParameters(const parameterList &parameters, const tunerOutput &print);

/// Adds the parameters of the next run; none in the committed version.
void registerParameters(parameterList &parameters);

} // namespace tarvonel

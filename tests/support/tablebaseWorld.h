// Endings solved and written as table files, once for all tests of a run, and what compares probes
// with them.
#pragma once

#include <functional>
#include <string>

#include "support/tablebaseSolver.h"
#include "support/tablebaseWriter.h"
#include "support/temporaryDirectory.h"

namespace tarvonel::endings
{

struct solvedWorld
{
    endingSolver solver;
    temporaryDirectory directory;
    explicit solvedWorld(bool withPawns);
};

/// Win, draw, loss and distances of KQvK, KRvK, KBvK, KNvK and KPvK.
const solvedWorld &threeMenWorld();

/// The same, and pawns on neighbouring files a and b against each other (KPvKP), where a queen or rook
/// against a pawn counts as won, a minor piece as drawn, unless it is captured at once.
const solvedWorld &pawnsWorld();

/// A position of three men, each on the square given.
ending threeMen(const std::string &name, int first, int second, int third, colour turn = white);

/// Calls `use` for every possible position of a material, first-side squares as in the name; mirror
/// images left out.
void forAllPositions(const std::string &name, const std::function<void(const ending &)> &use);

/// Counts answers, and tells of the first wrong one.
struct tally
{
    long compared = 0, wrong = 0;
    std::string first;

    void compare(const ending &position, int wanted, int got, int success);
    void expectNoneWrong(const std::string &what, long atLeast) const;
};

/// Every result and a quarter of the distances of the three-men tables set, against the solver.
void expectThreeMenAgree();

} // namespace tarvonel::endings

// Endings solved and written as table files, once for all tests of a run.
#pragma once

#include <string>

#include "support/tablebaseSolver.h"
#include "support/tablebaseWriter.h"
#include "support/temporaryDirectory.h"

namespace tarvonel::endings
{

/// The answers that a table may store for what the solver found.
chooser wdlChooser(const endingSolver &solver);
chooser dtzChooser(const endingSolver &solver);

struct solvedWorld
{
    endingSolver solver;
    temporaryDirectory directory;
};

/// Win, draw, loss and distances of KQvK, KRvK, KBvK, KNvK and KPvK.
const solvedWorld &threeMenWorld();

/// The same, and pawns on neighbouring files a and b against each other (KPvKP), where a queen or rook
/// against a pawn counts as won, a minor piece as drawn, unless it is captured at once.
const solvedWorld &pawnsWorld();
bool isOfPawnsWorld(const ending &position);

/// Calls `use` for every possible position of a material, first-side squares as in the name; mirror
/// images left out.
void forAllPositions(const std::string &name, const std::function<void(const ending &)> &use);

} // namespace tarvonel::endings

// A match: many games between two engines, on several threads, with their reports.
//
// The tally file holds a heading that names the engines, then a line "GAME HALF_POINTS" for each
// finished game: its number, from 0, and the half points of the first engine. A match goes on from
// its tally file.
#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "match/elo.h"
#include "match/matchEngine.h"
#include "match/matchGame.h"

namespace tarvonel
{

struct matchPlan
{
    engineSettings engines[2]{{"engine1", {}, "", {}, false}, {"engine2", {}, "", {}, false}};
    std::vector<std::string> openings; ///< FEN; each is played twice, with both colours
    gamePlan game;                     ///< all but the opening
    std::vector<double> sprt;          ///< elo0 and elo1 of a sequential test; empty for none
    std::int64_t games = 100;          ///< even numbers give the first engine white
    int concurrency = 1;
    bool quiet = false; ///< reports every tenth pair instead of every game
    std::string pgnFile;
    std::string faultFile;
    std::string tallyFile;
};

struct matchResult
{
    matchTally tally;
    std::int64_t faults = 0;
};

/// Half points of the first engine by the number of the game, from a tally file; none if there is no
/// such file.
std::map<std::int64_t, int> readTally(const std::string &path);
matchTally tallyOf(const std::map<std::int64_t, int> &points);

/// Plays the match to its end, to the sequential test's decision or to an interrupt, and reports to
/// `report`. Throws std::runtime_error if an engine does not start or a file cannot be written.
matchResult playMatch(const matchPlan &plan, std::ostream &report);

} // namespace tarvonel

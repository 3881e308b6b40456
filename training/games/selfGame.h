// One game of the engine against itself, scored move by move.
#pragma once

#include <optional>

#include "games/gameFile.h"
#include "search/searchLimits.h"
#include "uci/randomOpening.h"

namespace tarvonel
{

struct selfPlayPlan
{
    openingPlan opening;
    double unevenShare = 0; ///< of games that start from an ending or an imbalance (games/unevenStarts.h)
    searchLimitValues limits = {.softNodes = 1500, .hardNodes = 10000}; ///< per move
    int middlegameNodes = 0;          ///< soft limit while the phase is at least 12; 0 for that of `limits`
    int unsuitableNodes = 0;          ///< soft limit in positions that are not trained on; 0 for that of `limits`
    bool quick = false;               ///< no search: sampled moves, quiet positions scored by quiescence
    int tries = 4;                    ///< random moves that a quick choice compares
    int openingLimit = widestOpening; ///< centipawns; openings scored beyond are discarded

    // Adjudication. Scores are centipawns, streaks are plies in a row.
    int winScore = 600;
    int winPlies = 4;
    int drawScore = 8;
    int drawPlies = 12;
    int drawFrom = 80;         ///< first ply of the game at which a streak ends in a draw
    bool endsDeadDraws = true; ///< draws: level and without progress, few pieces, bare minor pieces
    int longestGame = 400;     ///< plies; longer games are drawn
};

/// Follows a game for adjudication.
struct gameTrend
{
    int whiteStreak = 0;
    int blackStreak = 0;
    int drawStreak = 0;
    int levelStreak = 0;
    int fewPiecesStreak = 0;
};

/// Takes in the score of a position, from white's view, at a ply of the game. Returns half points
/// for white if the game ends here.
std::optional<int> adjudicate(gameTrend &trend, const selfPlayPlan &plan, const pos &position, int whiteScore, int ply);

/// Plays a game. Returns none if its opening was discarded. The search must be set up.
std::optional<storedGame> playSelfGame(posWithMoves &board, const selfPlayPlan &plan, randomSource &random);

} // namespace tarvonel

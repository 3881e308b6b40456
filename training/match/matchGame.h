// One game between two engines: clocks, adjudication, and what went wrong.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "games/pgn.h"
#include "match/matchEngine.h"
#include "movegen/gameRules.h"

namespace tarvonel
{

/// How long an engine may think; the first of these that is not 0 applies.
struct thinkingLimits
{
    std::int64_t nodes = 0;
    int depth = 0;
    int moveTime = 0;              ///< milliseconds
    std::int64_t clock = 0;        ///< milliseconds for the game
    std::int64_t increment = 0;    ///< milliseconds for each move
    std::int64_t margin = 0;       ///< by which a clock may be exceeded
    std::int64_t patience = 60000; ///< for an answer where no clock runs
};

/// When a game is ended early. A count of 0 turns the rule off.
struct adjudicationRules
{
    int resignScore = 0; ///< both engines report at least this much for the same side
    int resignMoves = 0; ///< for this many moves each
    int drawScore = 0;   ///< both engines report at most this much for either side
    int drawMoves = 0;
    int drawPly = 0; ///< not before this ply of the game
    int maxPlies = 1000;
};

struct gamePlan
{
    std::string openingFen;
    thinkingLimits limits;
    adjudicationRules rules;
    bool chess960 = false;
};

enum class gameFault
{
    none,
    crash,
    illegalMove,
    timeLoss,
    noAnswer,
};

struct finishedGame
{
    std::optional<int> whitePoints; ///< half points, 0 to 2; none if the game could not be played
    std::string reason;             ///< why it ended
    gameFault fault = gameFault::none;
    std::string positionLine;           ///< the "position" line that leads to the last position
    std::vector<std::string> lastLines; ///< the end of the conversation with the engine at fault
    std::vector<pgnMove> moves;
    int firstMoveNumber = 1;
    bool blackBegins = false;
};

/// Plays one game. An engine at fault loses; the caller restarts it if it has ended.
finishedGame playGame(matchEngine &whiteEngine, matchEngine &blackEngine, const gamePlan &plan);

/// Follows the scores of a game and decides when to end it early.
struct adjudicator
{
    adjudicationRules rules;
    int winningStreak[2] = {}; ///< plies in a row that report white, black winning
    int drawStreak = 0;        ///< plies in a row that report a draw
    int plies = 0;
};

/// Takes one move, with its score from the mover's view. Half points for white if the game ends here,
/// with the reason.
std::optional<int> adjudicate(adjudicator &judge, colour mover, std::optional<int> score, std::string &reason);

} // namespace tarvonel

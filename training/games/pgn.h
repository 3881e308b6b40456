// Games in the portable notation: tags, moves in short algebraic form with the engines' scores.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "movegen/gameRules.h"

namespace tarvonel
{

struct pgnMove
{
    std::string text;    ///< short algebraic notation
    std::string comment; ///< may be empty
};

struct pgnGame
{
    std::vector<std::pair<std::string, std::string>> tags; ///< in their order, the seven first
    std::string result;                                    ///< "1-0", "1/2-1/2", "0-1" or "*"
    std::vector<pgnMove> moves;
    int firstMoveNumber = 1;
    bool blackBegins = false;
};

/// The move in short algebraic notation, for a legal move not yet made. Leaves the board as it was.
std::string shortNotation(posWithMoves &board, const std::vector<moveCode> &moves, moveCode move);

/// The one legal move that the notation means, whatever marks, hints or dashes it has, or 0.
moveCode findNotation(const pos &position, const std::vector<moveCode> &moves, std::string text);

/// The whole game, lines of at most about 80 characters, with an empty line at its end.
std::string pgnText(const pgnGame &game);

} // namespace tarvonel

// Portable Game Notation: tags, and moves in standard algebraic notation with comments.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "movegen/gameRules.h"

namespace tarvonel
{

struct pgnMove
{
    std::string text;    ///< standard algebraic notation
    std::string comment; ///< may be empty
};

struct pgnGame
{
    std::vector<std::pair<std::string, std::string>> tags; ///< in order, the seven standard ones first
    std::string result;                                    ///< "1-0", "1/2-1/2", "0-1" or "*"
    std::vector<pgnMove> moves;
    int firstMoveNumber = 1;
    bool blackBegins = false;
};

/// The standard algebraic notation of a legal move that has not been made. Leaves the board unchanged.
std::string shortNotation(posWithMoves &board, const std::vector<moveCode> &moves, moveCode move);

/// The only legal move that fits the notation, whatever marks, disambiguation or dashes it has, or 0.
moveCode findNotation(const pos &position, const std::vector<moveCode> &moves, std::string text);

/// The game as PGN, in lines of at most about 80 characters, ending with an empty line.
std::string pgnText(const pgnGame &game);

} // namespace tarvonel

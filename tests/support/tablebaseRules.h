// The rules of chess for a handful of men: what the tests of the endgame tables hold the engine's
// answers against. Only the attack tables are the engine's own; tests of theirs hold those.
#pragma once

#include <string>
#include <vector>

#include "tablebase/tbPosition.h"

namespace tarvonel::endings
{

inline constexpr int maxMen = 7;
inline constexpr int noEp = -1;
inline const std::string menLetters = "PNBRQK"; ///< by pieceType

/// A position as a list of men. `ep` is the skipped square.
struct ending
{
    int count = 0;
    int types[maxMen] = {};
    colour sides[maxMen] = {};
    int squares[maxMen] = {};
    colour turn = white;
    int ep = noEp;
};

/// The men of a table's name, all on a1.
ending menOfName(const std::string &name);

/// Colours changed round, the board turned over.
ending swappedColours(const ending &position);
/// Squares mirrored by XOR: 7 files, 56 ranks.
ending mirrored(ending position, int change);
/// Files and ranks exchanged.
ending transposed(ending position);

tbPosition toTbPosition(const ending &position, int rule50 = 0);
std::string describe(const ending &position);

bitboard occupied(const ending &position);
/// Squares that a man attacks; for a pawn its captures.
bitboard attacks(int type, colour side, int square, bitboard occupied);
bool isInCheck(const ending &position, colour side);
/// Men on squares of their own, no pawn on the first or last rank, the side not to move not in check.
bool isPossible(const ending &position);

struct endingMove
{
    int from, to, promotion; ///< type of the new man, pawn for none
    bool capture, pawnMove, enPassant;
    ending next;
};

/// All legal moves. A double step sets `ep` only where an enemy pawn stands ready.
std::vector<endingMove> legalMoves(const ending &position);

} // namespace tarvonel::endings

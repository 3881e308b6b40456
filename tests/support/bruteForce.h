// A brute-force oracle for move generation: a board of letters, moves found square by square and made
// on a copy, legality by testing for an attacked king.
//
// It shares only the square numbering and move codes with the engine. Castling follows the Chess960
// rules, which include the standard ones.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "board/moveCode.h"

namespace tarvonel::bruteForce
{

inline constexpr char noPiece = '.';
inline constexpr int nowhere = -1;

struct letterBoard
{
    std::array<char, 64> squares; ///< FEN letters by square, `noPiece` where empty
    bool whiteToMove = true;
    /// [white, black][king's, queen's side]: square of the rook that may still castle, or `nowhere`.
    std::array<std::array<int, 2>, 2> castlingRooks = {{{nowhere, nowhere}, {nowhere, nowhere}}};
    int skippedSquare = nowhere; ///< passed over by the last move's double step
    int halfMoves = 0;
    int moveNumber = 1;
};

struct letterMove
{
    int from = 0;
    int to = 0;         ///< for castling the own rook's square
    char promotion = 0; ///< lower case letter of the new piece
    bool isEnPassant = false;
    int castlingWing = nowhere; ///< 0 king's side, 1 queen's side
};

/// Reads FEN with castling rights as KQkq (outermost rooks of the king's rank) or as file letters.
letterBoard readFen(const std::string &fen);

/// FEN text, castling rights as file letters.
std::string writeFen(const letterBoard &board);

bool isAttackedBy(const letterBoard &board, int square, bool byWhite);
bool isInCheck(const letterBoard &board, bool whiteKing);
bool isCapture(const letterBoard &board, const letterMove &move);

std::vector<letterMove> legalMoves(const letterBoard &board);
letterBoard play(const letterBoard &board, const letterMove &move);

/// The engine's code of a move, extra byte 0.
moveCode codeOf(const letterBoard &board, const letterMove &move);

} // namespace tarvonel::bruteForce

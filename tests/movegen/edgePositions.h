// Positions that combine pins, checks, en passant and castling.
#pragma once

namespace tarvonel
{

struct edgePosition
{
    const char *what, *fen;
    bool chess960;
};

inline const edgePosition edgePositions[] = {
    {"double check", "4k3/8/8/1b6/4r3/8/3N4/R3K2R w KQ - 0 1", false},
    {"double check by discovery", "4k3/4r3/8/8/8/3n4/8/R3K2R w KQ - 0 1", false},
    {"check by a knight", "r3k2r/2N5/8/8/2R5/8/1b6/4K3 b kq - 0 1", false},
    {"checking pawn taken en passant", "8/8/8/2k5/3Pp3/8/8/4K3 b - d3 0 1", false},
    {"checking pawn taken en passant by two", "7k/8/8/1PpP4/3K4/8/8/8 w - c6 0 1", false},
    {"pinned pawn next to the checking pawn", "2r4k/8/8/2PpP3/2K5/8/8/8 w - d6 0 1", false},
    {"double step discovers a check by a bishop next to the capturer", "8/8/8/8/3PpB2/8/8/2k1K3 b - d3 0 1", false},
    {"block by single step", "8/1P4k1/8/8/8/r6K/5PP1/8 w - - 0 1", false},
    {"block by double steps", "8/1P4k1/8/8/r6K/8/5PP1/8 w - - 0 1", false},
    {"no double step over a piece", "8/6k1/8/8/r6K/6n1/5PP1/8 w - - 0 1", false},
    {"check on the last rank, promotions block", "2r4K/PP1P4/8/8/8/8/8/k7 w - - 0 1", false},
    {"checker taken with promotion", "2r4K/1P1P4/8/8/8/8/8/k7 w - - 0 1", false},
    {"black promotes by capture both ways", "4k3/8/8/8/8/8/3p4/2R1RK2 b - - 0 1", false},
    {"king steps back along the ray", "8/8/8/8/r3K3/8/8/7k w - - 0 1", false},
    {"pinned pieces of all kinds", "4r2k/8/b7/4N3/2R5/4K1Rr/3P4/q1B4b w - - 0 1", false},
    {"en passant pinned along the rank", "8/8/8/8/k2Pp2Q/8/8/3K4 b - d3 0 1", false},
    {"en passant by two pawns", "4k3/8/8/2PpP3/8/8/8/4K3 w - d6 0 1", false},
    {"pawns on the edge files", "4k3/p6p/P1p2p1P/1P4P1/1p4p1/p1P2P1p/P6P/4K3 b - - 0 1", false},
    {"castling through, out of and into attack", "r3k2r/8/8/8/8/4b3/8/R3K2R w KQkq - 0 1", false},
    {"castling with b1 attacked", "1r2k3/8/8/8/8/8/8/R3K3 w Q - 0 1", false},
    {"king on its target already", "4k3/8/8/8/8/8/8/6KR w H - 0 1", true},
    {"king on its target, f1 taken", "4k3/8/8/8/8/8/8/5NKR w H - 0 1", true},
    {"king steps to c1 over nothing", "4k3/8/8/8/8/8/8/RK6 w A - 0 1", true},
    {"rook on the king's target", "4k3/8/8/8/8/8/8/5KR1 w G - 0 1", true},
    {"rook on the king's target, queen's side", "2rk4/8/8/8/8/8/8/4K3 b c - 0 1", true},
    {"rook uncovers an attack", "4k3/8/8/8/8/8/8/rRK5 w B - 0 1", true},
    {"long way through attack", "4k1r1/8/8/8/8/8/8/RK5R w HA - 0 1", true},
    {"long way with a piece between", "4k3/8/8/8/8/8/8/1RKN3R w HB - 0 1", true},
    {"pinned pieces move along the pin and take the pinner", "3rk3/8/8/b7/8/3R4/3B4/3K4 w - - 0 1", false},
    {"pinned bishop takes its pinner", "4k3/8/8/b7/8/8/3B4/4K3 w - - 0 1", false},
    {"pinned rook, bishop, queen, pawn and knight", "4r2k/8/b7/1b2N2b/2R3q1/4KBQr/3P4/2q1r2b w - - 0 1", false},
    {"en passant opens the diagonal through the capturer", "7k/b7/8/2PpP3/3K4/8/8/8 w - d6 0 1", false},
    {"en passant along the pin", "k7/7b/8/3Pp3/8/3K4/8/8 w - e6 0 1", false},
    {"en passant takes the wrong neighbour", "4k3/8/8/2pPpP2/8/8/8/4K3 w - e6 0 1", false},
    {"castling with pieces between", "rn2k1nr/8/8/8/8/8/8/R1B1K1NR w KQkq - 0 1", false},
    {"960: both wings far", "rk5r/8/8/8/8/8/8/RK5R w HAha - 0 1", true},
    {"960: target attacked", "1rk3r1/8/8/8/8/2Q3Q1/8/K7 b gb - 0 1", true},
};

} // namespace tarvonel

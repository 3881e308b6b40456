// The positions of `bench` and of the signature: openings, middle games, endings, large imbalances, checks
// and Chess960.
#pragma once

namespace tarvonel
{

struct benchPosition
{
    const char *fen;
    bool chess960 = false;
};

inline constexpr benchPosition benchPositions[] = {
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"},
    {"r1bqkbnr/pppp1ppp/2n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3"},
    {"rnbqkb1r/1p2pppp/p2p1n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R w KQkq - 0 6"},
    {"rnbq1rk1/ppp2pbp/3p1np1/4p3/2PPP3/2N2N2/PP2BPPP/R1BQK2R w KQ - 0 7"},
    {"rnbqk1nr/ppp2ppp/4p3/3p4/1bPP4/4P3/PP3PPP/RNBQKBNR w KQkq - 1 4"},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"},
    {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1"},
    {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8"},
    {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10"},
    {"2rq1rk1/pb1nbppp/1p2pn2/3p4/3P1B2/2NBPN2/PP2QPPP/2R2RK1 w - - 4 12"},
    {"r2q1rk1/1b2bppp/p1np1n2/1p2p3/4P3/1BP1BN1P/PP1N1PP1/R2Q1RK1 b - - 2 13"},
    {"r1b2rk1/2q1bppp/p1n1pn2/1p6/3NP3/1BN1B3/PPP1QPPP/2KR3R w - - 0 12"},
    {"4rrk1/pp1n1pp1/q5p1/P1pP4/2n3P1/7P/1P3PB1/R1BQ1RK1 w - - 3 22"},
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1"},
    {"8/5pk1/6p1/R6p/7P/5PP1/r5K1/8 w - - 0 1"},
    {"8/8/1p1k4/p1p2p2/P1P2P2/1P1K4/8/8 w - - 0 1"},
    {"8/3b1k2/2p1p1p1/1pPpP1P1/1P1P4/3BK3/8/8 b - - 10 40"},
    {"3q2k1/5pp1/7p/8/8/4P2P/Q4PP1/6K1 w - - 0 1"},
    {"r3k2r/ppp2ppp/8/8/8/8/PPP2PPP/R2QK2R w KQkq - 0 1"},
    {"6k1/5ppp/8/8/8/2N2N2/5PPP/2R3K1 b - - 0 1"},
    {"8/8/8/8/5kp1/P7/8/1K1N4 w - - 0 1"},
    {"bqnb1rkr/pp3ppp/3ppn2/2p5/5P2/P2P4/NPP1P1PP/BQ1BNRKR w HFhf - 2 9", true},
    {"nrbbqkrn/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/NRBBQKRN w GBgb - 0 2", true},
};

} // namespace tarvonel

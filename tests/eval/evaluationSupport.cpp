#include "eval/evaluationSupport.h"

#include <cctype>
#include <sstream>

#include <gtest/gtest.h>

namespace tarvonel
{

std::string mirrorFen(const std::string &fen)
{
    std::istringstream words(fen);
    std::string board, side, mirrored, rank;
    words >> board >> side;
    std::istringstream ranks(board);
    while (std::getline(ranks, rank, '/'))
        mirrored.insert(0, rank + (mirrored.empty() ? "" : "/"));
    for (char &letter : mirrored)
        letter = static_cast<char>(std::isupper(letter) != 0 ? std::tolower(letter) : std::toupper(letter));
    return mirrored + (side == "w" ? " b - - 0 1" : " w - - 0 1");
}

void expectIsolatedTerms(std::span<const isolatedCase> cases, termScore score)
{
    for (const isolatedCase &c : cases)
    {
        const isolatedTerms guard;
        c.set();
        const std::string fen = std::string(c.board) + " w - - 0 1";
        evaluationPosition position(fen), mirrored(mirrorFen(fen));
        EXPECT_EQ(termText(score(position)), termText(c.expected)) << c.reason;
        EXPECT_EQ(termText(score(mirrored)), termText(-c.expected)) << c.reason << ", colours exchanged";
    }
}

void expectColoursAlike(termScore score)
{
    for (const char *fen :
         {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
          "r1bq1rk1/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQ - 0 8",
          "2rq1rk1/pb1n1ppN/4p3/1pb5/3P1Pn1/P1N5/1PQ1B1PP/R1B2RK1 b - - 0 16",
          "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", "4rrk1/2q2p1p/p2p2p1/1p1Pb3/4P2Q/2N2R2/PP4PP/5R1K w - - 2 24",
          "3r2k1/5p1p/1p4p1/p1p1n3/P1P1P3/1P2B1P1/5P1P/3R2K1 b - - 0 30", "6k1/5ppp/8/8/8/8/q4PPP/3Q2K1 w - - 0 1",
          "8/8/1p1k4/p1p5/P1P2K2/1P6/8/8 w - - 0 1",
          "r4rk1/1b3pq1/p3p1p1/1p1pP2p/3N1P1P/P1nBQ1P1/1P6/2KR3R w - - 0 22"})
    {
        evaluationPosition position(fen), mirrored(mirrorFen(fen));
        EXPECT_EQ(termText(score(position)), termText(-score(mirrored))) << fen;
    }
}

std::string termText(combEval value) { return std::to_string(mgOf(value)) + "," + std::to_string(egOf(value)); }

} // namespace tarvonel

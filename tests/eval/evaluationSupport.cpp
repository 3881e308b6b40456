#include "eval/evaluationSupport.h"

#include <cctype>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "support/sharedData.h"

namespace tarvonel
{

const std::vector<std::string> mixedPositions = {
    startPositionFen,
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r1bq1rk1/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQ - 0 8",
    "2rq1rk1/pb1n1ppN/4p3/1pb5/3P1Pn1/P1N5/1PQ1B1PP/R1B2RK1 b - - 0 16",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "4rrk1/2q2p1p/p2p2p1/1p1Pb3/4P2Q/2N2R2/PP4PP/5R1K w - - 2 24",
    "3r2k1/5p1p/1p4p1/p1p1n3/P1P1P3/1P2B1P1/5P1P/3R2K1 b - - 0 30",
    "6k1/5ppp/8/8/8/8/q4PPP/3Q2K1 w - - 0 1",
    "8/8/1p1k4/p1p5/P1P2K2/1P6/8/8 w - - 0 1",
    "r4rk1/1b3pq1/p3p1p1/1p1pP2p/3N1P1P/P1nBQ1P1/1P6/2KR3R w - - 0 22",
};

evaluationPosition::evaluationPosition(const std::string &fen)
{
    EXPECT_EQ(setupPosition(fen, *position), "") << fen;
    position->pawnTable = pawnTable.data();
    position->evalCache = evalCache.data();
}

std::string mirrorFen(const std::string &fen)
{
    std::istringstream words(fen);
    std::string board, side;
    words >> board >> side;

    std::string mirrored, rank;
    std::istringstream ranks(board);
    while (std::getline(ranks, rank, '/'))
        mirrored.insert(0, rank + (mirrored.empty() ? "" : "/"));
    for (char &letter : mirrored)
    {
        const auto code = static_cast<unsigned char>(letter);
        letter = static_cast<char>(std::isupper(code) ? std::tolower(code) : std::toupper(code));
    }
    return mirrored + (side == "w" ? " b - - 0 1" : " w - - 0 1");
}

std::vector<evaluationVector> readEvaluationVectors()
{
    std::ifstream file(sharedDataPath("vectors/evaluation.txt"));
    std::vector<evaluationVector> all;
    for (std::string line; std::getline(file, line);)
    {
        std::istringstream fields(line);
        evaluationVector reference;
        std::string networkColumn, score;
        std::getline(fields, reference.fen, ';');
        std::getline(fields, reference.variant, ';');
        std::getline(fields, networkColumn, ';');
        std::getline(fields, networkColumn, ';');
        std::getline(fields, reference.pawnTerms, ';');
        std::getline(fields, reference.pieceTerms, ';');
        std::getline(fields, score, ';');
        reference.score = std::stoi(score);
        all.push_back(reference);
    }
    return all;
}

evaluationPosition positionOf(const evaluationVector &reference)
{
    engineOptions.chess960 = reference.variant == "960";
    evaluationPosition position(reference.fen);
    engineOptions.chess960 = false;
    return position;
}

std::string termText(combEval value) { return std::to_string(mgOf(value)) + "," + std::to_string(egOf(value)); }

} // namespace tarvonel

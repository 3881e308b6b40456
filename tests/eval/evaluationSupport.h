// What the tests of the hand-set evaluation share: positions with tables of their own, terms to
// play with, colours exchanged, and the reference figures.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "board/pos.h"
#include "eval/evalTerms.h"
#include "eval/evaluate.h"
#include "eval/pawnEvaluation.h"

namespace tarvonel
{

/// A position with an empty pawn table and an empty evaluation cache. A FEN that cannot be set up
/// fails the test.
struct evaluationPosition
{
    explicit evaluationPosition(const std::string &fen);
    pos &operator*() { return *position; }
    pos *operator->() { return position.get(); }

    std::unique_ptr<pos> position = std::make_unique<pos>();
    std::vector<pawnEntry> pawnTable{pawnTableSize};
    std::vector<evalCacheEntry> evalCache{evalCacheSize};
};

/// While it lives all tunable terms are 0, but for those that a test then sets.
struct isolatedTerms
{
    isolatedTerms() { tunableTerms = evalTerms{}; }
    ~isolatedTerms() { tunableTerms = shippedTerms; }
    isolatedTerms(const isolatedTerms &) = delete;
    isolatedTerms &operator=(const isolatedTerms &) = delete;
};

/// One term or a few, and what they make of a position when all others are 0.
struct isolatedCase
{
    const char *reason;
    const char *fen;
    void (*set)(evalTerms &terms);
    combEval expected; ///< from white's view
};

template <typename number, std::size_t Size> void fill(number (&table)[Size], int value)
{
    for (number &entry : table)
        entry = value;
}

/// Entry n becomes n, so that a sum of entries is a count of squares.
template <typename number, std::size_t Size> void count(number (&table)[Size])
{
    for (std::size_t i = 0; i < Size; ++i)
        table[i] = static_cast<number>(i);
}

/// The position with colours, ranks and side to move exchanged, castling rights left out.
std::string mirrorFen(const std::string &fen);

/// A few full positions of all kinds.
extern const std::vector<std::string> mixedPositions;

/// A line of the reference figures; the terms are "mg,eg" from white's view.
struct evaluationVector
{
    std::string fen, variant, pawnTerms, pieceTerms;
    int score; ///< for the side to move
};

/// All lines, or none where the file is missing. Sets nothing up.
std::vector<evaluationVector> readEvaluationVectors();

/// Sets the position up under the rules that the line names; the rules go back afterwards.
evaluationPosition positionOf(const evaluationVector &reference);

/// "mg,eg".
std::string termText(combEval value);

} // namespace tarvonel

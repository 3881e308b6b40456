// What the tests of the hand-set evaluation share: positions with tables of their own, terms to
// play with, and colours exchanged.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "eval/evalTerms.h"
#include "eval/evaluate.h"
#include "support/randomGames.h"

namespace tarvonel
{

/// A position with empty tables of its own.
struct evaluationPosition : ownedPosition
{
    explicit evaluationPosition(const std::string &fen) : ownedPosition(fen) { tables->attachTo(**this); }

    std::unique_ptr<evaluationTables> tables = std::make_unique<evaluationTables>();
};

/// While it lives all tunable terms are 0, but for those that a test then sets.
struct isolatedTerms
{
    isolatedTerms() { tunableTerms = evalTerms{}; }
    ~isolatedTerms() { tunableTerms = shippedTerms; }
    isolatedTerms(const isolatedTerms &) = delete;
    isolatedTerms &operator=(const isolatedTerms &) = delete;
};

/// One term or a few, and what they make of a board when all others are 0.
struct isolatedCase
{
    const char *reason, *board;
    void (*set)();     ///< sets tunable terms
    combEval expected; ///< from white's view
};

using termScore = combEval (*)(evaluationPosition &);

/// Holds every case to its figure, and with colours exchanged to the opposite.
void expectIsolatedTerms(std::span<const isolatedCase> cases, termScore score);

/// Holds a few full positions of all kinds to the opposite score with colours exchanged.
void expectColoursAlike(termScore score);

/// The position with colours, ranks and side to move exchanged, castling rights left out.
std::string mirrorFen(const std::string &fen);

/// "mg,eg".
std::string termText(combEval value);

} // namespace tarvonel

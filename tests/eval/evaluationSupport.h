// Support for tests of the hand-set evaluation: positions with tables, isolated terms, and colour
// symmetry.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "eval/evalTerms.h"
#include "eval/evaluate.h"
#include "support/randomGames.h"

namespace tarvonel
{

/// A position with its own empty tables.
struct evaluationPosition : ownedPosition
{
    explicit evaluationPosition(const std::string &fen) : ownedPosition(fen) { tables->attachTo(**this); }

    std::unique_ptr<evaluationTables> tables = std::make_unique<evaluationTables>();
};

/// In its scope all tunable terms start at 0.
struct isolatedTerms
{
    isolatedTerms() { tunableTerms = evalTerms{}; }
    ~isolatedTerms() { tunableTerms = shippedTerms; }
    isolatedTerms(const isolatedTerms &) = delete;
    isolatedTerms &operator=(const isolatedTerms &) = delete;
};

/// A board and the score that a few terms give it when all others are 0.
struct isolatedCase
{
    const char *reason, *board;
    void (*set)();     ///< sets tunable terms
    combEval expected; ///< from white's view
};

using termScore = combEval (*)(evaluationPosition &);

/// Expects each case's score, and its negation with colours exchanged.
void expectIsolatedTerms(std::span<const isolatedCase> cases, termScore score);

/// Expects the negated score with colours exchanged, on a set of full positions.
void expectColoursAlike(termScore score);

/// The position with colours, ranks and side to move exchanged, castling rights left out.
std::string mirrorFen(const std::string &fen);

/// "mg,eg".
std::string termText(combEval value);

} // namespace tarvonel

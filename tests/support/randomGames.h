// Random legal games, as a supply of positions for tests. The moves come from the brute-force
// oracle, and the same seed gives the same games.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "board/engineOptions.h"
#include "board/pos.h"
#include "support/bruteForce.h"

namespace tarvonel
{

/// A position with its own move stack, set up from FEN; fails the test if the FEN is refused.
struct ownedPosition
{
    std::unique_ptr<posWithMoves> record = std::make_unique<posWithMoves>();

    explicit ownedPosition(const std::string &fen);
    pos &operator*() { return record->position; }
    pos *operator->() { return &record->position; }
};

/// The bytes of a record, for detecting any change.
template <typename T> std::string bytesOf(const T &record)
{
    return {reinterpret_cast<const char *>(&record), sizeof(T)};
}

/// Switches the variant for a scope.
struct variantScope
{
    bool before = engineOptions.chess960;

    explicit variantScope(bool chess960) { engineOptions.chess960 = chess960; }
    ~variantScope() { engineOptions.chess960 = before; }
    variantScope(const variantScope &) = delete;
    variantScope &operator=(const variantScope &) = delete;
};

struct randomGamePlan
{
    std::uint32_t seed = 1;
    int games = 20;
    int plies = 200; ///< a game ends here, or when there is no legal move
    bool chess960 = false;
};

/// A position of a game, for the engine and for the oracle. The engine's is at ply 0 with a valid
/// `inCheck`; the visitor may make moves on it and must take them back.
using gameVisitor = std::function<void(pos &position, const bruteForce::letterBoard &board)>;

/// Plays the games and visits every position, including the start positions.
void playRandomGames(const randomGamePlan &plan, const gameVisitor &visit);

} // namespace tarvonel

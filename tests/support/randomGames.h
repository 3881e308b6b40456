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

/// A position with a move stack of its own, set up from FEN; fails the test if the text is refused.
struct ownedPosition
{
    std::unique_ptr<posWithMoves> record = std::make_unique<posWithMoves>();

    explicit ownedPosition(const std::string &fen);
    pos &operator*() { return record->position; }
    pos *operator->() { return &record->position; }
};

/// The bytes of a record where it stands, to see later whether anything at all in it has changed.
template <typename T> std::string bytesOf(const T &record)
{
    return {reinterpret_cast<const char *>(&record), sizeof(T)};
}

/// Switches the variant for the length of a scope.
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

/// A position of a game as the engine and as the oracle have it. The engine's stands at ply 0 and
/// `inCheck` of it is valid; the visitor may make moves on it if it takes them back.
using gameVisitor = std::function<void(pos &position, const bruteForce::letterBoard &board)>;

/// Plays the games and shows every position of them, the start positions included.
void playRandomGames(const randomGamePlan &plan, const gameVisitor &visit);

} // namespace tarvonel

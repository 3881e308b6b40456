#include "board/keys.h"

namespace tarvonel
{

namespace
{

/// splitmix64.
constexpr std::uint64_t nextRandom(std::uint64_t &state)
{
    state += 0x9E3779B97F4A7C15;
    std::uint64_t value = state;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

constexpr zobristKeys makeKeys()
{
    zobristKeys made{};
    std::uint64_t state = 0xACFEAF947971818A;
    for (auto &row : made.piece)
        for (std::uint64_t &entry : row)
            entry = nextRandom(state);
    for (std::uint64_t &entry : made.castling)
        entry = nextRandom(state);
    for (std::uint64_t &entry : made.enPassant)
        entry = nextRandom(state);

    // Fixed values, so that a test can detect a change of the layout.
    made.piece[0][a1] = 0xACFEAF947971818A;
    made.piece[0][b1] = 0x1E1A986BCEE58E3B;
    made.piece[0][c1] = 0xD1DD9BBC7B8C8D68;
    made.castling[0] = 0xB60876BCF1AC653F;
    made.castling[castlingSets - 1] = 0x52350392A46A0725;
    made.enPassant[fileA] = 0xC1E7974D83CF2E9A;
    made.enPassant[fileH] = 0x6445BBD8C88B77B1;
    made.side = 0xF31FA94FE63F529F;
    return made;
}

std::uint64_t keyOfPieces(const pos &position, pieceCode code)
{
    std::uint64_t key = 0;
    for (bitboard pieces = position.bitboards[code]; pieces != 0;)
        key ^= pieceKey(code, popLowest(pieces));
    return key;
}

} // namespace

constexpr zobristKeys keys = makeKeys();

std::uint64_t computeKey(const pos &position, int ply)
{
    std::uint64_t key = keys.castling[position.info[ply].castling];
    for (pieceCode code = whitePawn; code <= blackKing; ++code)
        key ^= keyOfPieces(position, code);
    if (const int pawnSquare = position.info[ply].enPassant; pawnSquare != 0)
        key ^= keys.enPassant[fileOf(pawnSquare)];
    if (position.sideToMove == black)
        key ^= keys.side;
    return key;
}

std::uint64_t computePawnKey(const pos &position)
{
    return keyOfPieces(position, whitePawn) ^ keyOfPieces(position, blackPawn) ^ keyOfPieces(position, whiteKing) ^
           keyOfPieces(position, blackKing);
}

} // namespace tarvonel

#include "games/unevenStarts.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "board/piece.h"
#include "board/setup.h"
#include "games/selfSearch.h"

namespace tarvonel
{

namespace
{

/// What the placement of a material kind adds to chance.
enum class placement
{
    anywhere,
    wrongBishop,     ///< the strong side's pawns on the rook's file whose corner its bishop does not control
    oppositeBishops, ///< the bishops on squares of opposite colours
    advancedPawn,    ///< one pawn of the strong side on the sixth or seventh rank
    castledKings,    ///< the kings on castled squares with most of their pawns in front
};

struct materialKind
{
    const char *strong; ///< pieces next to the king
    const char *weak;
    int fewestStrongPawns, mostStrongPawns;
    int fewestWeakPawns, mostWeakPawns;
    placement where = placement::anywhere;
};

constexpr materialKind materialKinds[] = {
    // Leads that do not win by themselves.
    {"RN", "R", 0, 0, 0, 0},
    {"RB", "R", 0, 0, 0, 0},
    {"Q", "R", 0, 0, 0, 0},
    {"R", "B", 0, 0, 0, 0},
    {"R", "N", 0, 0, 0, 0},
    {"BB", "N", 0, 0, 0, 0},
    {"BN", "N", 0, 0, 0, 0},
    {"QN", "Q", 0, 0, 0, 0},
    {"QB", "Q", 0, 0, 0, 0},
    {"RR", "RB", 0, 0, 0, 0},
    {"B", "", 1, 2, 0, 1, placement::wrongBishop},
    // The leading side has no pawns.
    {"RN", "R", 0, 0, 1, 2},
    {"RB", "R", 0, 0, 1, 2},
    {"Q", "R", 0, 0, 1, 3},
    {"R", "B", 0, 0, 1, 3},
    {"R", "N", 0, 0, 1, 3},
    {"R", "", 0, 0, 1, 3},
    {"BN", "B", 0, 0, 1, 2},
    {"N", "", 0, 0, 1, 2},
    {"B", "", 0, 0, 1, 2},
    // Endings with opposite-coloured bishops.
    {"B", "B", 1, 5, 0, 4, placement::oppositeBishops},
    {"RB", "RB", 2, 6, 1, 6, placement::oppositeBishops},
    // Passed pawns far advanced.
    {"R", "R", 1, 5, 0, 5, placement::advancedPawn},
    {"Q", "Q", 1, 5, 0, 5, placement::advancedPawn},
    {"N", "B", 1, 5, 0, 5, placement::advancedPawn},
    {"B", "N", 1, 5, 0, 5, placement::advancedPawn},
    {"RR", "RR", 2, 6, 2, 6, placement::advancedPawn},
    {"RB", "RN", 2, 6, 2, 6, placement::advancedPawn},
    {"", "R", 2, 4, 0, 2, placement::advancedPawn},
    {"", "", 2, 5, 1, 5, placement::advancedPawn},
    // Unequal pieces.
    {"Q", "RR", 1, 6, 1, 6},
    {"Q", "RB", 1, 6, 2, 6},
    {"Q", "RN", 1, 6, 2, 6},
    {"QR", "RRB", 3, 7, 3, 7},
    {"R", "B", 1, 5, 2, 6},
    {"R", "BN", 3, 7, 2, 6},
    {"RR", "RBN", 3, 7, 2, 6},
    {"QRN", "QRR", 3, 7, 3, 7},
    // Attacked kings.
    {"QRRB", "QRRN", 4, 7, 4, 7, placement::castledKings},
    {"QRBN", "QRBN", 4, 7, 4, 7, placement::castledKings},
    {"QRRBN", "QRRBN", 4, 7, 4, 7, placement::castledKings},
};

int between(int low, int high, randomSource &random)
{
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
}

bool isDark(int square) { return (fileOf(square) + rankOf(square)) % 2 == 0; }

/// Pieces by square, with the strong side as white.
struct sketch
{
    std::string letters = std::string(squareCount, '.');
    int strongBishop = noSquare;
    int weakBishop = noSquare;

    bool put(char letter, int square)
    {
        if (letters[static_cast<std::size_t>(square)] != '.')
            return false;
        letters[static_cast<std::size_t>(square)] = letter;
        if (letter == 'B')
            strongBishop = square;
        if (letter == 'b')
            weakBishop = square;
        return true;
    }
};

/// Puts each piece on a random free square of the ranks from `low` to `high`.
bool putAll(sketch &board, const std::string &pieces, int low, int high, randomSource &random)
{
    return std::ranges::all_of(pieces,
                               [&](char letter) { return board.put(letter, between(low * 8, high * 8 + 7, random)); });
}

char letterOf(char letter, colour side)
{
    return side == white ? letter : static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

/// A king on its castled square with two or three of its pawns in front; returns how many pawns.
int putCastledKing(sketch &board, colour side, randomSource &random)
{
    const bool isShort = random() % 2 == 0;
    board.put(letterOf('K', side), relativeSquare(side, isShort ? g1 : b1));
    const int missing = between(0, 3, random);
    int pawns = 0;
    for (int i = 0; i < 3; ++i)
        if (i != missing)
            pawns += board.put(letterOf('P', side), relativeSquare(side, (isShort ? 8 + 5 : 8) + i)) ? 1 : 0;
    return pawns;
}

/// False if chance put two pieces on one square, or the special condition of the kind fails.
bool sketchKind(sketch &board, const materialKind &kind, randomSource &random)
{
    int strongPawns = between(kind.fewestStrongPawns, kind.mostStrongPawns, random);
    int weakPawns = between(kind.fewestWeakPawns, kind.mostWeakPawns, random);
    std::string weak = kind.weak;
    std::ranges::transform(weak, weak.begin(), [](char letter) { return letterOf(letter, black); });
    const bool isCastled = kind.where == placement::castledKings;
    if (isCastled)
    {
        strongPawns -= putCastledKing(board, white, random);
        weakPawns -= putCastledKing(board, black, random);
    }
    else if (!putAll(board, "Kk", 0, 7, random))
        return false;
    // With many pieces on the board each side begins on its own half.
    if (!putAll(board, kind.strong, 0, isCastled ? 3 : 7, random) || !putAll(board, weak, isCastled ? 4 : 0, 7, random))
        return false;
    if (kind.where == placement::oppositeBishops && isDark(board.strongBishop) == isDark(board.weakBishop))
        return false;
    if (kind.where == placement::advancedPawn && strongPawns-- > 0 && !putAll(board, "P", 5, 6, random))
        return false;
    if (kind.where == placement::wrongBishop)
    {
        const int file = isDark(h8) == isDark(board.strongBishop) ? 0 : 7;
        for (; strongPawns > 0; --strongPawns)
            if (!board.put('P', between(1, 6, random) * 8 + file))
                return false;
    }
    return putAll(board, std::string(static_cast<std::size_t>(std::max(strongPawns, 0)), 'P'), 1, 5, random) &&
           putAll(board, std::string(static_cast<std::size_t>(std::max(weakPawns, 0)), 'p'), 2, 6, random);
}

/// The sketch as FEN, with the colours exchanged where `strong` is black.
std::string fenOf(const sketch &board, colour strong, colour sideToMove)
{
    std::string fen;
    for (int rank = 7; rank >= 0; --rank)
    {
        for (int file = 0; file < 8; ++file)
        {
            const char letter = board.letters[static_cast<std::size_t>(relativeSquare(strong, rank * 8 + file))];
            const auto code = static_cast<unsigned char>(letter);
            if (letter == '.')
                fen += '1';
            else
                fen += static_cast<char>(strong == white           ? code
                                         : std::isupper(code) != 0 ? std::tolower(code)
                                                                   : std::toupper(code));
        }
        if (rank > 0)
            fen += '/';
    }
    return fen + (sideToMove == white ? " w" : " b") + " - - 0 1";
}

} // namespace

void drawUnevenStart(posWithMoves &board, randomSource &random)
{
    const materialKind &kind = materialKinds[random() % std::size(materialKinds)];
    for (;;)
    {
        sketch drawn;
        if (!sketchKind(drawn, kind, random))
            continue;
        const colour strong = static_cast<colour>(random() % 2);
        const colour sideToMove = static_cast<colour>(random() % 2);
        if (!setupPlayablePosition(fenOf(drawn, strong, sideToMove), board.position).empty())
            continue;
        const std::vector<moveCode> moves = legalMoves(board);
        if (board.position.info[0].inCheck != 0 || endOfGame(board, moves) != gameEnd::none)
            continue;
        const quietValue value = quiescenceValue(board.position);
        if (value.value == value.standPat)
            return;
    }
}

} // namespace tarvonel

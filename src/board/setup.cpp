#include "board/setup.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>
#include <vector>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/keys.h"
#include "board/pieceValues.h"
#include "platform/parseText.h"

namespace tarvonel
{

namespace
{

constexpr int maxSetupKeys = 512;    // history entries for plies before the position
constexpr int maxFiftyCount = 16383; // far above the rule's limit and far below overflow
constexpr std::size_t fieldCount = 6;
constexpr std::string_view fieldDefaults[fieldCount] = {"", "", "-", "-", "0", "1"};

enum fenField : int
{
    placementField,
    sideField,
    castlingField,
    enPassantField,
    fiftyField,
    moveNumberField
};

/// A fault is a line of text, null if there is none.
constexpr const char *noFault = nullptr;

/// A parsed and checked FEN.
struct parsedFen
{
    pieceCode board[squareCount] = {};
    colour sideToMove = white;
    std::string_view castling; ///< in the FEN text
    int enPassant = 0;
    int fiftyCount = 0;
    int moveNumber = 1;
};

const char *readPlacement(std::string_view text, parsedFen &parsed)
{
    int file = fileA;
    int rank = rank8;
    for (const char letter : text)
    {
        if (letter == '/')
        {
            if (file != squareCount / 8 || rank == rank1)
                return "the ranks do not add up to eight squares";
            file = fileA;
            --rank;
        }
        else if (letter >= '1' && letter <= '8')
            file += letter - '0';
        else
        {
            const std::size_t code = letter == ' ' ? std::string_view::npos : pieceLetters.find(letter);
            if (code == std::string_view::npos)
                return "unknown letter in the piece placement";
            if (file <= fileH)
                parsed.board[squareAt(file, rank)] = static_cast<pieceCode>(code);
            ++file;
        }
        if (file > fileH + 1)
            return "the ranks do not add up to eight squares";
    }
    return file == fileH + 1 && rank == rank1 ? noFault : "the ranks do not add up to eight squares";
}

const char *checkPieceCounts(const parsedFen &parsed)
{
    int pieces[colourCount] = {};
    int kings[colourCount] = {};
    for (int square = 0; square < squareCount; ++square)
    {
        const pieceCode code = parsed.board[square];
        if (code == emptySquare)
            continue;
        ++pieces[colourOf(code)];
        kings[colourOf(code)] += isKing(code) ? 1 : 0;
        if (isPawn(code) && (rankOf(square) == rank1 || rankOf(square) == rank8))
            return "a pawn on the first or last rank";
    }
    for (const colour side : {white, black})
    {
        if (kings[side] == 0)
            return side == white ? "no white king" : "no black king";
        if (kings[side] > 1)
            return side == white ? "more than one white king" : "more than one black king";
        if (pieces[side] > maxPiecesPerSide)
            return side == white ? "more than 16 white men" : "more than 16 black men";
    }
    return noFault;
}

/// FEN gives the square that the pawn passed over; `enPassant` is the pawn's own.
const char *readEnPassant(std::string_view text, parsedFen &parsed)
{
    if (text.empty() || text[0] == '-')
        return noFault;
    const int passedOver = parseSquare(text);
    const int pawnSquare = passedOver - forward(parsed.sideToMove);
    if (passedOver == noSquare || pawnSquare < 0 || pawnSquare >= squareCount)
        return "unreadable en passant square";
    parsed.enPassant = pawnSquare;
    return noFault;
}

const char *readFen(const std::string &fen, parsedFen &parsed)
{
    std::vector<std::string_view> fields = splitFields(fen, ' ');
    if (fields.size() < 2)
        return "piece placement or side to move missing";
    while (fields.size() < fieldCount)
        fields.push_back(fieldDefaults[fields.size()]);
    if (const char *fault = readPlacement(fields[placementField], parsed); fault != noFault)
        return fault;
    if (const char *fault = checkPieceCounts(parsed); fault != noFault)
        return fault;
    parsed.sideToMove = !fields[sideField].empty() && fields[sideField][0] == 'w' ? white : black;
    parsed.castling = fields[castlingField];
    if (const char *fault = readEnPassant(fields[enPassantField], parsed); fault != noFault)
        return fault;
    const std::optional<int> fifty = wholeNumber<int>(fields[fiftyField]);
    const std::optional<int> moveNumber = wholeNumber<int>(fields[moveNumberField]);
    if (!fifty || !moveNumber)
        return "a counter is no number";
    parsed.fiftyCount = std::clamp(*fifty, -maxFiftyCount, maxFiftyCount);
    parsed.moveNumber = *moveNumber;
    return noFault;
}

/// Adds the castling right for the rook on a file of the back rank.
void addRightByFile(pos &position, colour side, int file)
{
    const int rookSquare = relativeSquare(side, file);
    const int wing = rookSquare >= kingSquare(position, side) ? kingSide : queenSide;
    position.info[0].castling |= castlingRightOf(wing, side);
    position.castleRook[wing][side] = static_cast<std::int8_t>(rookSquare);
}

/// In Chess960, KQkq mean the outermost rook on that side of the king, on the king's rank. If there is
/// none, `castleRook` stays `noSquare`.
void findOutermostRooks(pos &position)
{
    for (const colour side : {white, black})
    {
        const int king = kingSquare(position, side);
        const bitboard rooks = position.bitboards[whiteRook + side] & rankBits(rankOf(king));
        const bitboard queenSideRooks = rooks & (bit(king) - 1);
        for (const int wing : {kingSide, queenSide})
        {
            const bitboard candidates = wing == queenSide ? queenSideRooks : rooks ^ queenSideRooks;
            std::int8_t &rookSquare = position.castleRook[wing][side];
            if ((position.info[0].castling & castlingRightOf(wing, side)) == 0 || rookSquare != noSquare ||
                candidates == 0)
                continue;
            const int outermost = wing == queenSide ? lowestSquare(candidates) : highestSquare(candidates);
            rookSquare = static_cast<std::int8_t>(outermost);
        }
    }
}

void readCastling(std::string_view text, pos &position)
{
    constexpr std::int8_t standardRooks[2][colourCount] = {{h1, h8}, {a1, a8}};
    for (const int wing : {kingSide, queenSide})
        for (const colour side : {white, black})
            position.castleRook[wing][side] =
                engineOptions.chess960 ? static_cast<std::int8_t>(noSquare) : standardRooks[wing][side];

    std::uint8_t &rights = position.info[0].castling;
    rights = 0;
    for (const char letter : text)
    {
        if (letter == 'K')
            rights |= whiteKingSide;
        else if (letter == 'Q')
            rights |= whiteQueenSide;
        else if (letter == 'k')
            rights |= blackKingSide;
        else if (letter == 'q')
            rights |= blackQueenSide;
        else if (letter >= 'A' && letter <= 'H')
            addRightByFile(position, white, letter - 'A');
        else if (letter >= 'a' && letter <= 'h')
            addRightByFile(position, black, letter - 'a');
    }
    if (engineOptions.chess960)
        findOutermostRooks(position);
}

/// Earlier plies get 0, which matches no key.
void startKeyHistory(pos &position, int moveNumber)
{
    const std::int64_t wanted = position.sideToMove + 2 * (static_cast<std::int64_t>(moveNumber) - 1);
    position.keyCount = static_cast<std::int16_t>(std::clamp<std::int64_t>(wanted, 0, maxSetupKeys));
    std::fill_n(position.keyHistory, position.keyCount, std::uint64_t{0});
    position.key = computeKey(position);
    position.pawnKey = computePawnKey(position);
    position.keyHistory[position.keyCount++] = position.key;
}

/// Whether king and rook are in place; in standard chess the king must be on the e-file.
bool isCastlingRightValid(const pos &position, int wing, colour side)
{
    const int king = kingSquare(position, side);
    const int rookSquare = position.castleRook[wing][side];
    if (rookSquare == noSquare || position.board[rookSquare] != whiteRook + side)
        return false;
    if (relativeRank(side, king) != rank1 || relativeRank(side, rookSquare) != rank1)
        return false;
    if (!engineOptions.chess960 && fileOf(king) != fileE)
        return false;
    return wing == kingSide ? rookSquare > king : rookSquare < king;
}

/// Whether the pawn is there and the squares that it came from and passed over are empty.
bool isEnPassantValid(const pos &position)
{
    const colour pusher = opponent(position.sideToMove);
    const int pawnSquare = position.info[0].enPassant;
    if (relativeRank(pusher, pawnSquare) != rank4 || position.board[pawnSquare] != whitePawn + pusher)
        return false;
    return position.board[pawnSquare - forward(pusher)] == emptySquare &&
           position.board[pawnSquare - 2 * forward(pusher)] == emptySquare;
}

/// Puts a letter on the n-th free square of the rank, from the left.
void placeOnFree(std::string &rank, int n, char letter)
{
    for (char &square : rank)
        if (square == ' ' && n-- == 0)
        {
            square = letter;
            return;
        }
}

std::string placementText(const pos &position)
{
    std::string text;
    for (int rank = rank8; rank >= rank1; --rank)
    {
        int gap = 0;
        for (int file = fileA; file <= fileH; ++file)
        {
            const int code = position.board[squareAt(file, rank)];
            if (code == emptySquare)
            {
                ++gap;
                continue;
            }
            text += gap > 0 ? std::to_string(gap) : "";
            gap = 0;
            text += pieceLetters[code];
        }
        text += gap > 0 ? std::to_string(gap) : "";
        text += rank > rank1 ? "/" : "";
    }
    return text;
}

std::string castlingText(const pos &position, bool byFile)
{
    std::string text;
    for (const colour side : {white, black})
        for (const int wing : {kingSide, queenSide})
        {
            if ((position.info[0].castling & castlingRightOf(wing, side)) == 0)
                continue;
            const char letter = byFile             ? static_cast<char>('A' + fileOf(position.castleRook[wing][side]))
                                : wing == kingSide ? 'K'
                                                   : 'Q';
            text += side == white ? letter : static_cast<char>(std::tolower(letter));
        }
    return text.empty() ? "-" : text;
}

} // namespace

std::string setupPosition(const std::string &fen, pos &position)
{
    parsedFen parsed;
    if (const char *fault = readFen(fen, parsed); fault != noFault)
        return fault;

    std::ranges::copy(parsed.board, position.board);
    rebuildBitboards(position);
    position.accumulatorBlocks[0].computed = false;
    position.sideToMove = static_cast<std::uint8_t>(parsed.sideToMove);
    readCastling(parsed.castling, position);
    position.info[0].enPassant = static_cast<std::int8_t>(parsed.enPassant);
    position.fiftyCount = static_cast<std::int16_t>(parsed.fiftyCount);
    startKeyHistory(position, parsed.moveNumber);
    position.info[0].inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
    refreshSums(position);
    return "";
}

void rebuildBitboards(posHead &position)
{
    std::ranges::fill(position.bitboards, bitboard{0});
    for (int square = 0; square < squareCount; ++square)
    {
        const pieceCode code = position.board[square];
        if (code != emptySquare)
        {
            position.bitboards[code] |= bit(square);
            position.bitboards[colourOf(code)] |= bit(square);
        }
    }
}

std::string setupPlayablePosition(const std::string &fen, pos &position)
{
    std::string fault = setupPosition(fen, position);
    if (!fault.empty())
        return fault;
    if (!isPlayable(position))
        return "the side not to move is in check";
    dropInvalidRights(position);
    return "";
}

positionSums computeSums(const pos &position)
{
    positionSums sums;
    for (const colour side : {white, black})
        for (int type = pawn; type <= king; ++type)
        {
            bitboard pieces = position.bitboards[pieceOf(type, side)];
            if (type != king)
                sums.material[side] += popCount(pieces) * pieceValue[type];
            sums.phase = static_cast<std::int16_t>(sums.phase + popCount(pieces) * phaseValue[type]);
            while (pieces != 0)
                sums.squareScore[side] += pieceSquareScore[type][tableSquare(side, popLowest(pieces))];
        }
    return sums;
}

void refreshSums(pos &position)
{
    const positionSums sums = computeSums(position);
    std::ranges::copy(sums.material, position.material);
    std::ranges::copy(sums.squareScore, position.squareScore);
    position.phase = sums.phase;
}

void dropInvalidRights(pos &position)
{
    posinfo &root = position.info[0];
    for (const colour side : {white, black})
        for (const int wing : {kingSide, queenSide})
        {
            const int right = castlingRightOf(wing, side);
            if ((root.castling & right) != 0 && !isCastlingRightValid(position, wing, side))
                root.castling = static_cast<std::uint8_t>(root.castling & ~right);
        }
    if (root.enPassant != 0 && !isEnPassantValid(position))
        root.enPassant = 0;

    position.key = computeKey(position);
    if (position.keyCount > 0)
        position.keyHistory[position.keyCount - 1] = position.key;
}

bool isPlayable(const pos &position)
{
    for (const colour side : {white, black})
        if (!exactlyOne(position.bitboards[whiteKing + side]) || popCount(position.bitboards[side]) > maxPiecesPerSide)
            return false;
    const bitboard pawns = position.bitboards[whitePawn] | position.bitboards[blackPawn];
    if ((pawns & (rank1Bits | rank8Bits)) != 0)
        return false;
    return !isKingAttacked(position, opponent(position.sideToMove));
}

// The usual numbering: bishops, queen, knights, then rook, king and rook on the remaining squares.
std::string chess960Fen(int number)
{
    constexpr int bishopSquares = 4, queenSquares = 6;
    constexpr int knightSquares[][2] = {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {1, 2}, {1, 3}, {1, 4}, {2, 3}, {2, 4}, {3, 4}};
    std::string rank(8, ' ');
    rank[static_cast<std::size_t>(2 * (number % bishopSquares) + 1)] = 'b';
    number /= bishopSquares;
    rank[static_cast<std::size_t>(2 * (number % bishopSquares))] = 'b';
    number /= bishopSquares;
    placeOnFree(rank, number % queenSquares, 'q');
    const auto &knights = knightSquares[number / queenSquares];
    placeOnFree(rank, knights[1], 'n'); // the right one first, so that the left one's number stays valid
    placeOnFree(rank, knights[0], 'n');
    for (const char letter : {'r', 'k', 'r'})
        placeOnFree(rank, 0, letter);
    std::string whiteRank = rank;
    std::ranges::transform(rank, whiteRank.begin(),
                           [](char letter) { return static_cast<char>(std::toupper(letter)); });
    return rank + "/pppppppp/8/8/8/8/PPPPPPPP/" + whiteRank + " w KQkq - 0 1";
}

std::string fenOf(const pos &position, bool byFile, int fullMove)
{
    const int pawnSquare = position.info[0].enPassant;
    const colour side = position.sideToMove;
    return placementText(position) + (side == white ? " w " : " b ") + castlingText(position, byFile) + " " +
           (pawnSquare == 0 ? "-" : squareText(pawnSquare + forward(side))) + " " +
           std::to_string(position.fiftyCount) + " " + std::to_string(fullMove);
}

std::string boardText(const pos &position)
{
    const std::string ruling = "+---+---+---+---+---+---+---+---+\n";
    std::string text = ruling;
    for (int rank = rank8; rank >= rank1; --rank)
    {
        for (int file = fileA; file <= fileH; ++file)
        {
            text += "| ";
            text += pieceLetters[position.board[squareAt(file, rank)]];
            text += ' ';
        }
        text += "|\n" + ruling;
    }
    return text;
}

} // namespace tarvonel

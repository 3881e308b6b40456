#include "support/bruteForce.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>
#include <string_view>

namespace tarvonel::bruteForce
{

namespace
{

struct direction
{
    int files, ranks;
};

/// How a piece other than a pawn moves.
struct movement
{
    char kind;
    bool slides;
    std::vector<direction> steps;
};

const std::vector<direction> straight = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
const std::vector<direction> diagonal = {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}};
const std::vector<direction> allAround = {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}};
const movement movements[] = {{'n', false, {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}}},
                              {'b', true, diagonal},
                              {'r', true, straight},
                              {'q', true, allAround},
                              {'k', false, allAround}};

bool isWhiteLetter(char letter) { return std::isupper(static_cast<unsigned char>(letter)) != 0; }
char lower(char letter) { return static_cast<char>(std::tolower(static_cast<unsigned char>(letter))); }
char upper(char letter) { return static_cast<char>(std::toupper(static_cast<unsigned char>(letter))); }
char coloured(char letter, bool isWhite) { return isWhite ? upper(letter) : lower(letter); }

/// The square a step away, or `nowhere`.
int stepFrom(int square, direction step)
{
    const int file = square % 8 + step.files;
    const int rank = square / 8 + step.ranks;
    return file < 0 || file > 7 || rank < 0 || rank > 7 ? nowhere : rank * 8 + file;
}

bool isOwn(const letterBoard &board, int square, bool isWhite)
{
    return board.squares[square] != noPiece && isWhiteLetter(board.squares[square]) == isWhite;
}

bool isEnemy(const letterBoard &board, int square, bool isWhite)
{
    return board.squares[square] != noPiece && isWhiteLetter(board.squares[square]) != isWhite;
}

int findKing(const letterBoard &board, bool isWhite)
{
    for (int square = 0; square < 64; ++square)
        if (board.squares[square] == coloured('k', isWhite))
            return square;
    return nowhere;
}

/// Calls `use` for every square that the piece attacks until a call returns true.
template <typename F> bool anyAttacked(const letterBoard &board, int from, const movement &how, F &&use)
{
    for (const direction step : how.steps)
        for (int to = stepFrom(from, step); to != nowhere; to = stepFrom(to, step))
        {
            if (use(to))
                return true;
            if (board.squares[to] != noPiece || !how.slides)
                break;
        }
    return false;
}

void addPawnMove(const letterBoard &board, int from, int to, std::vector<letterMove> &moves)
{
    if (to / 8 != (board.whiteToMove ? 7 : 0))
    {
        moves.push_back({from, to});
        return;
    }
    for (const char letter : {'q', 'r', 'b', 'n'})
        moves.push_back({from, to, letter});
}

void addPawnMoves(const letterBoard &board, int from, std::vector<letterMove> &moves)
{
    const int ahead = board.whiteToMove ? 1 : -1;
    const int one = stepFrom(from, {0, ahead});
    if (one != nowhere && board.squares[one] == noPiece)
    {
        addPawnMove(board, from, one, moves);
        const int two = stepFrom(one, {0, ahead});
        if (from / 8 == (board.whiteToMove ? 1 : 6) && board.squares[two] == noPiece)
            moves.push_back({from, two});
    }
    for (const int sideways : {-1, 1})
    {
        const int to = stepFrom(from, {sideways, ahead});
        if (to == nowhere)
            continue;
        if (isEnemy(board, to, board.whiteToMove))
            addPawnMove(board, from, to, moves);
        else if (to == board.skippedSquare && board.squares[to] == noPiece)
            moves.push_back({from, to, 0, true});
    }
}

/// Castling destinations.
int kingGoal(bool isWhite, int wing) { return (isWhite ? 0 : 56) + (wing == 0 ? 6 : 2); }
int rookGoal(bool isWhite, int wing) { return (isWhite ? 0 : 56) + (wing == 0 ? 5 : 3); }

bool isRankStretchFree(const letterBoard &board, int from, int to, int king, int rook)
{
    for (int square = std::min(from, to); square <= std::max(from, to); ++square)
        if (square != king && square != rook && board.squares[square] != noPiece)
            return false;
    return true;
}

void addCastling(const letterBoard &board, int wing, std::vector<letterMove> &moves)
{
    const bool isWhite = board.whiteToMove;
    const int rook = board.castlingRooks[isWhite ? 0 : 1][wing];
    if (rook == nowhere)
        return;
    const int king = findKing(board, isWhite);
    const int goal = kingGoal(isWhite, wing);
    if (!isRankStretchFree(board, king, goal, king, rook) ||
        !isRankStretchFree(board, rook, rookGoal(isWhite, wing), king, rook))
        return;
    const int step = goal > king ? 1 : -1;
    for (int square = king; square != goal; square += step)
        if (isAttackedBy(board, square, !isWhite))
            return;
    if (isAttackedBy(board, king, !isWhite))
        return;
    moves.push_back({king, rook, 0, false, wing});
}

void readCastling(letterBoard &board, const std::string &text)
{
    for (const char letter : text)
    {
        if (letter == '-')
            continue;
        const char kind = lower(letter);
        const bool isWhite = isWhiteLetter(letter);
        const int home = isWhite ? 0 : 56;
        const int king = findKing(board, isWhite);
        const bool byFile = kind != 'k' && kind != 'q';
        // The file that the letter names, or the search from the corner towards the king.
        const int step = kind == 'q' ? 1 : -1;
        int square = byFile ? home + (kind - 'a') : kind == 'q' ? home : home + 7;
        while (!byFile && square != king && board.squares[square] != coloured('r', isWhite))
            square += step;
        if (square != king)
            board.castlingRooks[isWhite ? 0 : 1][square > king ? 0 : 1] = square;
    }
}

} // namespace

letterBoard readFen(const std::string &fen)
{
    letterBoard board;
    board.squares.fill(noPiece);
    std::istringstream words(fen);
    std::string placement, side, castling = "-", enPassant = "-";
    words >> placement >> side >> castling >> enPassant >> board.halfMoves >> board.moveNumber;
    int square = 56;
    for (const char letter : placement)
        if (letter == '/')
            square -= 16;
        else if (letter >= '1' && letter <= '8')
            square += letter - '0';
        else
            board.squares[square++] = letter;
    board.whiteToMove = side == "w";
    readCastling(board, castling);
    if (enPassant != "-")
        board.skippedSquare = (enPassant[1] - '1') * 8 + (enPassant[0] - 'a');
    return board;
}

std::string writeFen(const letterBoard &board)
{
    std::string text;
    for (int rank = 7; rank >= 0; --rank)
    {
        for (int file = 0; file < 8; ++file)
            if (const char letter = board.squares[rank * 8 + file]; letter != noPiece)
                text += letter;
            else if (!text.empty() && text.back() >= '1' && text.back() <= '7')
                ++text.back();
            else
                text += '1';
        text += rank > 0 ? "/" : "";
    }
    text += board.whiteToMove ? " w " : " b ";
    const std::size_t rightsStart = text.size();
    for (const bool isWhite : {true, false})
        for (const int rook : board.castlingRooks[isWhite ? 0 : 1])
            if (rook != nowhere)
                text += coloured(static_cast<char>('a' + rook % 8), isWhite);
    text += text.size() == rightsStart ? "- " : " ";
    text += board.skippedSquare == nowhere ? "-" : squareText(board.skippedSquare);
    return text + ' ' + std::to_string(board.halfMoves) + ' ' + std::to_string(board.moveNumber);
}

bool isAttackedBy(const letterBoard &board, int square, bool byWhite)
{
    for (const int sideways : {-1, 1})
    {
        const int origin = stepFrom(square, {sideways, byWhite ? -1 : 1});
        if (origin != nowhere && board.squares[origin] == coloured('p', byWhite))
            return true;
    }
    for (const movement &how : movements)
        if (const char attacker = coloured(how.kind, byWhite);
            anyAttacked(board, square, how, [&](int from) { return board.squares[from] == attacker; }))
            return true;
    return false;
}

bool isInCheck(const letterBoard &board, bool whiteKing)
{
    return isAttackedBy(board, findKing(board, whiteKing), !whiteKing);
}

bool isCapture(const letterBoard &board, const letterMove &move)
{
    return move.isEnPassant || (move.castlingWing == nowhere && board.squares[move.to] != noPiece);
}

std::vector<letterMove> legalMoves(const letterBoard &board)
{
    std::vector<letterMove> moves;
    for (int from = 0; from < 64; ++from)
    {
        if (!isOwn(board, from, board.whiteToMove))
            continue;
        const char kind = lower(board.squares[from]);
        if (kind == 'p')
            addPawnMoves(board, from, moves);
        for (const movement &how : movements)
            if (how.kind == kind)
                anyAttacked(board, from, how,
                            [&](int to)
                            {
                                if (!isOwn(board, to, board.whiteToMove))
                                    moves.push_back({from, to});
                                return false;
                            });
        if (kind == 'k')
            for (const int wing : {0, 1})
                addCastling(board, wing, moves);
    }
    std::erase_if(moves, [&](const letterMove &move) { return isInCheck(play(board, move), board.whiteToMove); });
    return moves;
}

letterBoard play(const letterBoard &board, const letterMove &move)
{
    letterBoard next = board;
    const bool isWhite = board.whiteToMove;
    const char letter = board.squares[move.from];
    const bool isPawnMove = lower(letter) == 'p';

    next.squares[move.from] = noPiece;
    if (move.castlingWing != nowhere)
    {
        next.squares[move.to] = noPiece;
        next.squares[kingGoal(isWhite, move.castlingWing)] = coloured('k', isWhite);
        next.squares[rookGoal(isWhite, move.castlingWing)] = coloured('r', isWhite);
    }
    else
    {
        next.squares[move.to] = move.promotion != 0 ? coloured(move.promotion, isWhite) : letter;
        if (move.isEnPassant)
            next.squares[move.to + (isWhite ? -8 : 8)] = noPiece;
    }

    if (lower(letter) == 'k')
        next.castlingRooks[isWhite ? 0 : 1] = {nowhere, nowhere};
    for (auto &side : next.castlingRooks)
        for (int &rook : side)
            rook = rook == move.from || rook == move.to ? nowhere : rook;
    const bool isDoubleStep = isPawnMove && std::abs(move.to - move.from) == 16;
    next.skippedSquare = isDoubleStep ? (move.from + move.to) / 2 : nowhere;
    next.halfMoves = isPawnMove || isCapture(board, move) ? 0 : board.halfMoves + 1;
    next.moveNumber = isWhite ? board.moveNumber : board.moveNumber + 1;
    next.whiteToMove = !isWhite;
    return next;
}

moveCode codeOf(const letterBoard &board, const letterMove &move)
{
    const bool isWhite = board.whiteToMove;
    if (move.castlingWing != nowhere)
        return encodeMove(move.from, kingGoal(isWhite, move.castlingWing), castleKingSide + move.castlingWing);
    if (move.isEnPassant)
        return encodeMove(move.from, move.to + (isWhite ? -8 : 8), enPassantCapture);
    if (move.promotion != 0)
        return encodeMove(move.from, move.to,
                          promoteKnight + 2 * static_cast<int>(std::string_view("nbrq").find(move.promotion)));
    const bool isDoubleStep = lower(board.squares[move.from]) == 'p' && std::abs(move.to - move.from) == 16;
    return encodeMove(move.from, move.to, isDoubleStep ? doubleStep : plainMove);
}

} // namespace tarvonel::bruteForce

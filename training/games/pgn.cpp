#include "games/pgn.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>

#include "board/attackTables.h"
#include "board/makeMove.h"

namespace tarvonel
{

namespace
{

constexpr std::size_t rowLength = 80;

/// The file, rank or both that distinguish the mover from other pieces of its kind that can move there.
std::string disambiguation(const pos &position, const std::vector<moveCode> &moves, moveCode move)
{
    bool ambiguous = false;
    bool sameFile = false;
    bool sameRank = false;
    for (const moveCode other : moves)
    {
        if (moveFrom(other) == moveFrom(move) || moveTo(other) != moveTo(move) || isCastling(other) ||
            position.board[moveFrom(other)] != position.board[moveFrom(move)])
            continue;
        ambiguous = true;
        sameFile |= fileOf(moveFrom(other)) == fileOf(moveFrom(move));
        sameRank |= rankOf(moveFrom(other)) == rankOf(moveFrom(move));
    }
    const std::string square = squareText(moveFrom(move));
    return !ambiguous ? "" : !sameFile ? square.substr(0, 1) : !sameRank ? square.substr(1) : square;
}

/// The square on which the moving piece ends; not for castling.
int landing(const pos &position, moveCode move)
{
    return isEnPassant(move) ? enPassantLanding(position.sideToMove, move) : moveTo(move);
}

std::string pawnMoveText(const pos &position, moveCode move)
{
    const int target = landing(position, move);
    std::string text = squareText(target);
    if (fileOf(target) != fileOf(moveFrom(move)))
        text = squareText(moveFrom(move)).substr(0, 1) + "x" + text;
    if (isPromotion(move))
        text += std::string("=") + pieceLetters[moveFlagOf(move)];
    return text;
}

std::string pieceMoveText(const pos &position, const std::vector<moveCode> &moves, moveCode move)
{
    const int code = position.board[moveFrom(move)];
    return pieceLetters[code & ~1] + disambiguation(position, moves, move) +
           (position.board[moveTo(move)] != emptySquare ? "x" : "") + squareText(moveTo(move));
}

/// "+" or "#" if the move gives check or mate.
std::string checkMark(const posWithMoves &board, moveCode move)
{
    const auto copy = std::make_unique<posWithMoves>();
    copy->adopt(board.position);
    playGameMove(copy->position, move);
    if (!isKingAttacked(copy->position, copy->position.sideToMove))
        return {};
    return legalMoves(*copy).empty() ? "#" : "+";
}

} // namespace

std::string shortNotation(posWithMoves &board, const std::vector<moveCode> &moves, moveCode move)
{
    const pos &position = board.position;
    const std::string text = moveFlagOf(move) == castleKingSide       ? "O-O"
                             : moveFlagOf(move) == castleQueenSide    ? "O-O-O"
                             : isPawn(position.board[moveFrom(move)]) ? pawnMoveText(position, move)
                                                                      : pieceMoveText(position, moves, move);
    return text + checkMark(board, move);
}

moveCode findNotation(const pos &position, const std::vector<moveCode> &moves, std::string text)
{
    const auto takeLast = [&](std::size_t count)
    {
        std::string last = text.substr(text.size() - std::min(count, text.size()));
        text.resize(text.size() - last.size());
        return last;
    };
    while (!text.empty() && std::strchr("+#!?", text.back()) != nullptr)
        text.pop_back();
    const bool isLong = text == "O-O-O" || text == "0-0-0";
    const bool isCastlingText = isLong || text == "O-O" || text == "0-0";
    char promotion = '\0';
    if (!text.empty() && std::isalpha(static_cast<unsigned char>(text.back())) != 0)
        promotion = static_cast<char>(std::toupper(takeLast(1)[0]));
    if (text.ends_with('='))
        text.pop_back();
    const std::string target = takeLast(2);
    const char piece = !text.empty() && std::strchr("NBRQK", text[0]) != nullptr ? text[0] : pieceLetters[whitePawn];
    const auto isMeant = [&](moveCode move)
    {
        if (isCastling(move) || isCastlingText)
            return isCastlingText && moveFlagOf(move) == (isLong ? castleQueenSide : castleKingSide);
        const std::string from = squareText(moveFrom(move));
        return pieceLetters[position.board[moveFrom(move)] & ~1] == piece &&
               target == squareText(landing(position, move)) &&
               promotion == (isPromotion(move) ? pieceLetters[moveFlagOf(move)] : '\0') &&
               std::ranges::all_of(
                   text, [&](char hint)
                   { return hint == 'x' || hint == '-' || hint == piece || from.find(hint) != std::string::npos; });
    };
    const auto found = std::ranges::find_if(moves, isMeant);
    const bool isUnique = found != moves.end() && std::find_if(found + 1, moves.end(), isMeant) == moves.end();
    return isUnique ? *found & moveIdentityMask : noMove;
}

std::string pgnText(const pgnGame &game)
{
    std::string text;
    for (const auto &[name, value] : game.tags)
        text += "[" + name + " \"" + value + "\"]\n";
    text += "\n";
    std::string row;
    const auto append = [&](const std::string &word)
    {
        if (!row.empty() && row.size() + word.size() >= rowLength)
        {
            text += row + "\n";
            row.clear();
        }
        row += (row.empty() ? "" : " ") + word;
    };
    int ply = game.blackBegins ? 1 : 0;
    bool numbered = false;
    for (const pgnMove &move : game.moves)
    {
        const std::string number = std::to_string(game.firstMoveNumber + ply / 2);
        if (ply % 2 == 0 || !numbered)
            append(number + (ply % 2 == 0 ? "." : "..."));
        append(move.text);
        if (!move.comment.empty())
            append("{" + move.comment + "}");
        numbered = move.comment.empty();
        ++ply;
    }
    append(game.result);
    return text + row + "\n\n";
}

} // namespace tarvonel

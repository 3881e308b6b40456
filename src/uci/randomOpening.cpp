#include "uci/randomOpening.h"

#include <fstream>
#include <memory>
#include <sstream>

#include "board/makeMove.h"
#include "board/setup.h"
#include "platform/fileMapping.h"
#include "platform/parseText.h"

namespace tarvonel
{

namespace
{

/// The position at the start of a line: the four fields of an EPD or the six of a FEN.
std::string positionOf(const std::string &line)
{
    constexpr int placedFields = 4, allFields = 6;
    std::istringstream words(line.substr(0, line.find(';')));
    std::string fen;
    std::string word;
    for (int field = 0; field < allFields && words >> word && (field < placedFields || wholeNumber<int>(word)); ++field)
        fen += (field > 0 ? " " : "") + word;
    return fen;
}

} // namespace

openingBook readOpeningBook(const std::string &path)
{
    openingBook book;
    std::ifstream file;
    if (readableFileSize(path) >= 0) // anything but a regular file could block or never end
        file.open(path);
    const auto board = std::make_unique<posWithMoves>();
    for (std::string line; std::getline(file, line);)
    {
        const std::string fen = positionOf(line);
        if (fen.empty())
            continue;
        if (setupPlayablePosition(fen, board->position).empty() &&
            endOfGame(*board, legalMoves(*board)) == gameEnd::none)
            book.fens.push_back(fen);
        else
            ++book.refusedLines;
    }
    return book;
}

moveCode randomMove(const std::vector<moveCode> &moves, randomSource &random)
{
    return moves[random() % moves.size()] & moveIdentityMask;
}

int drawOpening(posWithMoves &board, const openingPlan &plan, randomSource &random)
{
    const bool is960 = std::uniform_real_distribution<double>(0, 1)(random) < plan.chess960Share;
    const std::string fen = !plan.book.empty() ? plan.book[random() % plan.book.size()]
                            : is960            ? chess960Fen(static_cast<int>(random() % chess960Starts))
                                               : startPositionFen;
    const int plies = plan.fewestPlies + static_cast<int>(random() % 2);
    if (!setupPlayablePosition(fen, board.position).empty())
        return -1;
    for (int ply = 0; ply < plies; ++ply)
    {
        const std::vector<moveCode> moves = legalMoves(board);
        if (endOfGame(board, moves) != gameEnd::none)
            return -1;
        playGameMove(board.position, randomMove(moves, random));
    }
    return endOfGame(board, legalMoves(board)) == gameEnd::none ? plies : -1;
}

} // namespace tarvonel

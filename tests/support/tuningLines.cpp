#include "support/tuningLines.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "board/makeMove.h"
#include "board/setup.h"
#include "movegen/gameRules.h"

namespace tarvonel
{

namespace
{

constexpr int firstPly = 8;
constexpr int pliesBetween = 5; ///< an odd number, so that both colours are to move
constexpr int lastPly = 120;    ///< by then one side is far ahead in most random games

struct playedGame
{
    std::vector<std::string> fens;
    const char *result = "1/2-1/2"; ///< of a game that is not over either
};

playedGame playRandomGame(posWithMoves &board, std::mt19937_64 &random)
{
    setupPlayablePosition(startPositionFen, board.position);
    const pos &position = board.position;
    playedGame game;
    for (int ply = 0; ply <= lastPly; ++ply)
    {
        const std::vector<moveCode> moves = legalMoves(board);
        const gameEnd end = endOfGame(board, moves);
        if (end == gameEnd::checkmate)
            game.result = position.sideToMove == white ? "0-1" : "1-0";
        if (end != gameEnd::none)
            break;
        if (ply >= firstPly && (ply - firstPly) % pliesBetween == 0 && position.info[0].inCheck == 0)
            game.fens.push_back(fenOf(position, false, ply / 2 + 1));
        playGameMove(board.position, moves[random() % moves.size()]);
    }
    return game;
}

} // namespace

void writeTuningLines(std::ostream &out, std::int64_t count, std::uint64_t seed)
{
    const auto board = std::make_unique<posWithMoves>();
    std::mt19937_64 random(seed);
    while (count > 0)
    {
        const playedGame game = playRandomGame(*board, random);
        for (const std::string &fen : game.fens)
            if (count-- > 0)
                out << fen << " c9 \"" << game.result << "\";\n";
    }
}

} // namespace tarvonel

// Every generator against the list that the oracle's moves make: which moves, in which order and
// with which scores, as the node counts of the search hang on all three.
#include "movegen/generators.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "movegen/edgePositions.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

using bruteForce::letterBoard;
using bruteForce::letterMove;

/// A move with its place in the list: the group, then up to two keys within it.
struct placedMove
{
    std::array<int, 3> place;
    moveCode move;
};

using moveVector = std::vector<moveCode>;

char kindOf(const letterBoard &board, const letterMove &move)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(board.squares[move.from])));
}

int pieceRank(char kind) { return static_cast<int>(std::string("pnbrqk").find(kind)); }
int promotionRank(const letterMove &move) { return static_cast<int>(std::string("qrbn").find(move.promotion)); }
bool isBy9(const letterMove &move) { return std::abs(move.to - move.from) == 9; }

int victimCode(const letterBoard &board, const letterMove &move)
{
    return static_cast<int>(pieceLetters.find(board.squares[move.to]));
}

moveVector inOrder(std::vector<placedMove> moves)
{
    std::sort(moves.begin(), moves.end(), [](const placedMove &a, const placedMove &b) { return a.place < b.place; });
    moveVector codes;
    for (const placedMove &placed : moves)
        codes.push_back(placed.move);
    return codes;
}

/// Whether the man is all that stands between its king and an enemy slider.
bool isPinned(const letterBoard &board, int square)
{
    letterBoard without = board;
    without.squares[square] = bruteForce::noPiece;
    return bruteForce::isInCheck(without, board.whiteToMove);
}

struct captureRules
{
    bool queenOnly;
    bool enPassant;
    bool kingBeforeEnPassant;
    bool pinnedKnights;
    bool queenPushes;
    int onlyOnto = noSquare; ///< a square, or all when `noSquare`
};

const captureRules captureListRules = {false, true, false, false, false};
const captureRules quiescenceRules = {true, true, true, false, true};
captureRules recaptureRules(int square) { return {true, false, true, true, false, square}; }

moveVector expectedCaptures(const letterBoard &board, const captureRules &rules)
{
    constexpr int pawnsBy9 = 0, pawnsBy7 = 2, pieces = 3, kingGroup = 10, pushes = 20;
    std::vector<placedMove> moves;
    for (const letterMove &move : bruteForce::pseudoLegalMoves(board))
    {
        const char kind = kindOf(board, move);
        const moveCode code = bruteForce::codeOf(board, move);
        const bool isPromotion = move.promotion != 0;
        if (isPromotion && rules.queenOnly && move.promotion != 'q')
            continue;
        if (!bruteForce::isCapture(board, move))
        {
            if (isPromotion && rules.queenPushes)
                moves.push_back({{pushes, move.to, 0}, withExtra(code, 1)});
            continue;
        }
        if (move.isEnPassant)
        {
            if (rules.enPassant)
            {
                moves.push_back(
                    {{rules.kingBeforeEnPassant ? kingGroup + 1 : kingGroup - 1, move.from, 0}, withExtra(code, 14)});
            }
            continue;
        }
        if ((rules.onlyOnto != noSquare && move.to != rules.onlyOnto) ||
            (kind == 'n' && !rules.pinnedKnights && isPinned(board, move.from)))
            continue;
        const int victim = victimCode(board, move) * 8;
        if (kind == 'p')
        {
            const int group = (isBy9(move) ? pawnsBy9 : pawnsBy7) + (isPromotion ? 0 : 1);
            moves.push_back({{group, move.to, isPromotion ? promotionRank(move) : 0},
                             withExtra(code, victim - (isPromotion ? 14 : 2))});
            continue;
        }
        const int group = kind == 'k' ? kingGroup : pieces + pieceRank(kind);
        moves.push_back({{group, move.from, move.to}, withExtra(code, victim - 2 * (pieceRank(kind) + 1))});
    }
    return inOrder(moves);
}

moveVector expectedQuiets(const letterBoard &board)
{
    constexpr int promotionPushes = 0, singleSteps = 1, doubleSteps = 2, castling = 3, pieces = 4;
    std::vector<placedMove> moves;
    for (const letterMove &move : bruteForce::pseudoLegalMoves(board))
    {
        const char kind = kindOf(board, move);
        const moveCode code = bruteForce::codeOf(board, move);
        if (bruteForce::isCapture(board, move) || (kind == 'n' && isPinned(board, move.from)))
            continue;
        if (move.castlingWing != bruteForce::nowhere)
            moves.push_back({{castling, move.castlingWing, 0}, code});
        else if (kind != 'p')
            moves.push_back({{pieces + pieceRank(kind), move.from, move.to}, code});
        else if (move.promotion != 0)
            moves.push_back({{promotionPushes, move.to, promotionRank(move)}, code});
        else
            moves.push_back({{moveFlagOf(code) == doubleStep ? doubleSteps : singleSteps, move.to, 0}, code});
    }
    return inOrder(moves);
}

/// Whether the man on a square next to the king of the side to move gives it check.
bool isAdjacentChecker(const letterBoard &board, int square)
{
    letterBoard alone = board;
    for (int other = 0; other < 64; ++other)
    {
        const char letter = board.squares[other];
        if (other != square && (std::isupper(static_cast<unsigned char>(letter)) != 0) != board.whiteToMove)
            alone.squares[other] = bruteForce::noPiece;
    }
    return bruteForce::isInCheck(alone, board.whiteToMove);
}

moveVector expectedEvasions(const letterBoard &board)
{
    constexpr int kingMoves = 0, pawnsBy9 = 1, pawnsBy7 = 2, enPassant = 3, pawnPushes = 4, doubleSteps = 6, pieces = 7;
    std::vector<placedMove> moves;
    for (const letterMove &move : bruteForce::legalMoves(board))
    {
        const char kind = kindOf(board, move);
        const moveCode code = bruteForce::codeOf(board, move);
        const bool takes = bruteForce::isCapture(board, move);
        const int promotion = move.promotion != 0 ? promotionRank(move) : 0;
        if (kind == 'k')
        {
            const int deduction = takes && isAdjacentChecker(board, move.to) ? 35 : 36;
            const int score = takes ? 256 + victimCode(board, move) - deduction : 202;
            moves.push_back({{kingMoves, move.to, 0}, withExtra(code, score)});
        }
        else if (kind != 'p')
        {
            const int score = (takes ? 237 : 207) - pieceRank(kind);
            moves.push_back({{pieces + pieceRank(kind), move.from, move.to}, withExtra(code, score)});
        }
        else if (move.isEnPassant)
        {
            moves.push_back({{enPassant, move.from, 0}, withExtra(code, 250)});
        }
        else if (takes)
        {
            moves.push_back({{isBy9(move) ? pawnsBy9 : pawnsBy7, move.to, promotion}, withExtra(code, 250)});
        }
        else
        {
            const int group = moveFlagOf(code) == doubleStep ? doubleSteps : pawnPushes + (move.promotion != 0 ? 0 : 1);
            moves.push_back({{group, move.to, promotion}, withExtra(code, 210)});
        }
    }
    return inOrder(moves);
}

using generator = void (*)(int, moveCode *, pos &);

/// Runs a generator on a list of its own and checks what it leaves behind in the stack.
moveVector generated(generator generate, int ply, pos &position)
{
    static std::array<moveCode, 2 * moveListReserve> list;
    generate(ply, list.data(), position);
    EXPECT_EQ(position.info[ply].listEnd, position.info[ply + 1].listStart);
    return {list.data(), position.info[ply].listEnd};
}

std::string listText(const moveVector &moves)
{
    std::string text;
    for (const moveCode move : moves)
    {
        text += squareText(moveFrom(move)) + squareText(moveTo(move)) + '/' + std::to_string(moveFlagOf(move)) + '=' +
                std::to_string(moveExtra(move)) + ' ';
    }
    return text;
}

void expectList(const char *name, const moveVector &actual, const moveVector &expected, const letterBoard &board)
{
    EXPECT_EQ(actual, expected) << name << " of " << bruteForce::writeFen(board, true) << "\n  is  " << listText(actual)
                                << "\n  not " << listText(expected);
}

/// Holds all generators of a position at `ply` against the oracle; recaptures if a move led there.
void checkGenerators(int ply, pos &position, const letterBoard &board)
{
    constexpr int untouched = 42;
    posinfo &node = position.info[ply];
    node.stage = untouched;
    if (node.inCheck != 0)
    {
        const moveVector evasions = expectedEvasions(board);
        expectList("quiescence moves in check", generated(generateQuiescenceMoves, ply, position), evasions, board);
        EXPECT_EQ(node.stage, untouched);
        expectList("captures in check", generated(generateCaptures, ply, position), evasions, board);
        EXPECT_EQ(node.stage, evasionStage);
        expectList("evasions", generated(generateEvasions, ply, position), evasions, board);
        if (ply > 0)
        {
            node.unpinned = 0;
            expectList("recaptures in check", generated(generateRecaptures, ply, position), evasions, board);
        }
        return;
    }
    expectList("quiescence moves", generated(generateQuiescenceMoves, ply, position),
               expectedCaptures(board, quiescenceRules), board);
    expectList("captures", generated(generateCaptures, ply, position), expectedCaptures(board, captureListRules),
               board);
    expectList("quiets", generated(generateQuiets, ply, position), expectedQuiets(board), board);
    EXPECT_EQ(node.stage, untouched);
    if (ply > 0)
    {
        const bitboard unpinned = node.unpinned;
        const int target = moveTo(position.info[ply - 1].playedMove);
        expectList("recaptures", generated(generateRecaptures, ply, position),
                   expectedCaptures(board, recaptureRules(target)), board);
        EXPECT_EQ(node.unpinned, unpinned);
    }
}

/// The position itself and some of those one move on.
void checkWithReplies(pos &position, const letterBoard &board, std::size_t stride)
{
    checkGenerators(0, position, board);
    const std::vector<letterMove> moves = bruteForce::legalMoves(board);
    for (std::size_t index = 0; index < moves.size(); index += stride)
    {
        const moveCode move = bruteForce::codeOf(board, moves[index]);
        makeMove(position, 0, move);
        position.info[0].playedMove = move;
        position.info[1].inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
        checkGenerators(1, position, bruteForce::play(board, moves[index]));
        unmakeMove(position, 0, move);
    }
}

class generatorsInBothVariants : public ::testing::TestWithParam<bool>
{
};

TEST_P(generatorsInBothVariants, listsAreThoseOfTheRules)
{
    playRandomGames({.seed = 31, .games = 24, .plies = 180, .chess960 = GetParam()},
                    [](pos &position, const letterBoard &board) { checkWithReplies(position, board, 11); });
}

INSTANTIATE_TEST_SUITE_P(generators, generatorsInBothVariants, ::testing::Bool());

TEST(generators, edgeCasesFollowTheRules)
{
    for (const edgePosition &edge : edgePositions)
    {
        SCOPED_TRACE(edge.what);
        const variantScope variant(edge.chess960);
        ownedPosition position(edge.fen);
        checkWithReplies(*position, bruteForce::readFen(edge.fen), 1);
    }
}

TEST(generators, firstSlotLosesItsScoreEvenWhenTheListIsEmpty)
{
    ownedPosition position("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
    moveCode *slot = position->info[0].listStart;
    *slot = encodeMove(e1, e2, plainMove, 200);
    generateCaptures(0, slot, *position);
    EXPECT_EQ(position->info[0].listEnd, slot);
    EXPECT_EQ(*slot, encodeMove(e1, e2));

    ownedPosition blocked("6bk/5ppp/5PPP/8/8/8/8/K7 b - - 0 1");
    slot = blocked->info[0].listStart;
    generateCaptures(0, slot, *blocked);
    *slot = encodeMove(e1, e2, plainMove, 200);
    generateQuiets(0, slot, *blocked);
    EXPECT_EQ(blocked->info[0].listEnd, slot);
    EXPECT_EQ(*slot, encodeMove(e1, e2));
}

} // namespace
} // namespace tarvonel

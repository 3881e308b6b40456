#include "games/positionFilter.h"

#include <cstdlib>

#include "board/moveCode.h"
#include "eval/evaluate.h"
#include "games/gameFile.h"

namespace tarvonel
{

bool isSuitable(const pos &position, moveCode best, int score, const positionFilter &filter)
{
    const bool isCapture = !isCastling(best) && position.board[moveTo(best)] != emptySquare;
    return score != unscored && position.info[0].inCheck == 0 && !isCapture && !isPromotion(best) &&
           std::abs(score) <= filter.maxScore && std::abs(egOf(balance(position))) <= filter.maxBalance;
}

} // namespace tarvonel

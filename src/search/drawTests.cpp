#include "search/drawTests.h"

#include <algorithm>

#include "board/pieceValues.h"
#include "search/score.h"

namespace tarvonel
{

bool isRepetition(int ply, const pos &position)
{
    constexpr int shortestRepetition = 4;
    if (position.fiftyCount < shortestRepetition)
        return false;
    const int count = position.keyCount;
    const int lowest = std::max(count - position.fiftyCount - 1, 0);
    bool isSecond = false;
    for (int i = count - 1 - shortestRepetition; i >= lowest; i -= 2)
        if (position.keyHistory[i] == position.key)
        {
            const bool isInsideTree = i > count - ply - 1;
            if (isInsideTree || isSecond)
                return true;
            isSecond = true;
        }
    return false;
}

bool isMaterialDraw(const pos &position)
{
    const int minorValue = mgOf(pieceValue[bishop]);
    return (position.bitboards[whitePawn] | position.bitboards[blackPawn]) == 0 &&
           mgOf(position.material[white]) <= minorValue && mgOf(position.material[black]) <= minorValue;
}

void clampMateDistance(int ply, int &alpha, int &beta)
{
    alpha = std::max(alpha, ply - scoreMate);
    beta = std::min(beta, scoreMate + 1 - ply);
}

} // namespace tarvonel

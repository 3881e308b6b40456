#include "search/nodeEntry.h"

#include <algorithm>

#include "board/pieceValues.h"

namespace tarvonel
{

bool isRepetition(int ply, const pos &position)
{
    constexpr int shortestRepetition = 4; // plies
    if (position.fiftyCount < shortestRepetition)
        return false;
    const int count = position.keyCount;
    const int lowest = std::max(count - position.fiftyCount - 1, 0);
    bool isSecond = false;
    for (int i = count - 1 - shortestRepetition; i >= lowest; i -= 2)
        if (position.keyHistory[i] == position.key)
        {
            const bool isOnSearchPath = i > count - ply - 1;
            if (isOnSearchPath || isSecond)
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

} // namespace tarvonel

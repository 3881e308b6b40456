#include "board/posWithMoves.h"

namespace tarvonel
{

namespace
{

posWithMoves mainBoard;

} // namespace

pos &mainPos = mainBoard.position;

} // namespace tarvonel

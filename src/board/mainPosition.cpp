#include "board/pos.h"

namespace tarvonel
{

namespace
{

posWithMoves mainBoard;

} // namespace

pos &mainPos = mainBoard.position;

} // namespace tarvonel

#include "board/pos.h"

namespace tarvonel
{

pos mainPos;
moveCode mainMoveStack[moveStackCapacity];

} // namespace tarvonel

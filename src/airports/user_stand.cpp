// SPDX-License-Identifier: MIT
#include "airports/user_stand.h"

#include "airports/park_airports.h"
#include "core/window.h"
#include "sim/sim_client.h"

namespace kes {

void followUserStand() {
    const UserMoves moves = takeUserMoves();
    if (moves.stoodAt)
        learnUserStand(*moves.stoodAt);
    if (!moves.seenAt)
        return;
    const std::string name = standNameAt(moves.seenAt->lat, moves.seenAt->lon);
    if (name == readoutText(Readout::userStand))
        return;
    setReadout(Readout::userStand, name);
    repaint();
}

} // namespace kes

// SPDX-License-Identifier: MIT
#include "traffic/reset.h"

#include "sim/orders.h"
#include "traffic/abandoned.h"
#include "traffic/absence.h"
#include "traffic/conflicts.h"
#include "traffic/light_sequence.h"
#include "traffic/live_table.h"
#include "traffic/motion.h"
#include "traffic/no_match.h"
#include "traffic/tick_check.h"
#include "traffic/title_table.h"
#include "traffic/user_conflicts.h"

namespace kes {

void resetLiveTraffic() {
    liveAircraft.clear();
    clearOrders();
    clearOutbox();
    landingList.clear();
    noMatchList.clear();
    clearAbandoned();
    clearTitleTable();
    clearLightSequences();
    resetConflicts();
    resetUserConflicts();
    resetTickCheck();
    resetAbsence();
}

} // namespace kes

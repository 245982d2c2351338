#include "engine/removal.h"

#include <fmt/format.h>

#include "engine/state.h"
#include "frame/core/log.h"

std::string gf_acLabel(const AcBase& r) {
    const std::string route = r.from.empty() && r.to.empty() ? std::string() : fmt::format("{:3}->{}", r.from, r.to);
    return fmt::format("{:8} {:8} {} {:3} {:4}", r.callsign, r.reg, route, r.airline, r.model);
}

void gf_removeAct(ParkedAc& record) {
    record.state = ActState::Removing;
    if (record.objectId != 0)
        engine.removalQueue.push_back(record.objectId);
    else
        gf_logMarkf("removing act {} with objectId=0 ?", gf_acLabel(record));
}

namespace {
template <typename Table>
bool lf_cancel(std::deque<CreateRequest>& queue, Table& table, const std::string& callsign) {
    bool any = false;
    for (auto it = queue.begin(); it != queue.end();) {
        if (it->tail != callsign) {
            ++it;
            continue;
        }
        for (size_t i = 0; i < table.size(); ++i)
            if (table[i].hexid == it->hexid) {
                if (i + 1 != table.size()) table[i] = std::move(table.back());
                table.pop_back();
                break;
            }
        it = queue.erase(it);
        any = true;
    }
    return any;
}
}  // namespace

bool gf_cancelStaticCreation(const std::string& callsign) {
    return lf_cancel(engine.staticCreationQueue, engine.parked, callsign);
}
bool gf_cancelLiveCreation(const std::string& callsign) {
    return lf_cancel(engine.liveCreationQueue, engine.active, callsign);
}

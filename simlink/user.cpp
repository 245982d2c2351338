// simlink/user.cpp — the user aircraft: its title, model and span, its position and the tick it drives,
// and the stand it stands on. Written by SimClient; the engine reads its copy of the snapshot.
#include <cstring>
#include <exception>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"
#include "simlink/handlers.h"
#include "simlink/state.h"

namespace {

const char* lf_payload(const SIMCONNECT_RECV_SIMOBJECT_DATA& message) {
    return reinterpret_cast<const char*>(&message) + kDataPayloadOffset;
}

// The text at the start of the payload, up to its NUL, at most `limit` bytes and never past the message.
std::string lf_payloadText(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size, size_t limit) {
    if (size <= kDataPayloadOffset) return {};
    const size_t room = std::min<size_t>(size - kDataPayloadOffset, limit);
    const char* text = lf_payload(message);
    return std::string(text, strnlen(text, room));
}

bool lf_startsWith(const std::string& text, const char* head) { return text.rfind(head, 0) == 0; }

// The model hidden in a reference such as "TT:ATCCOM.AC_MODEL_B738.0.text": the longest of the 4, 3 or 2
// characters before the mark that the database knows. A mark too near the start is no aircraft at all.
std::string lf_modelFromReference(const std::string& text) {
    const size_t mark = text.find(".0.text");
    if (mark == std::string::npos) return text;
    if (mark < 4) throw std::out_of_range("the model reference has no room for a type code");
    for (const size_t length : {4u, 3u, 2u}) {
        std::string candidate = text.substr(mark - length, length);
        if (gf_halfWingspan(candidate) != 0.0) return candidate;
    }
    return text;
}

void lf_applyUserModel(std::string model) {
    model = lf_modelFromReference(model);
    std::string line = "SimConnect: User aircraft model: " + model;

    // A camera or a vessel: nobody flies, and the span of a small airliner keeps others at a decent distance.
    if (model.find("camerapod") != std::string::npos || model.find("Crew Vessel") != std::string::npos) {
        user.userModel = model;
        user.userHalfSpan = gf_halfWingspan("E190");
        user.userCategory = ModelCategory::Light;
        panel.userSpanKnown = true;
        gf_logLine(line);
        return;
    }

    const double largest = dbase.largestHalfWingspan;
    double halfSpan = model.size() <= 4 ? gf_halfWingspan(model) : largest;
    if (halfSpan == largest) {
        // Unknown to the database (or the largest type itself): some liveries tell their type in the title.
        for (const char* type : {"A319", "A320", "A321"}) {
            if (user.userTitle.size() >= 13 &&
                lf_startsWith(user.userTitle, fmt::format("Aerosoft {}", type).c_str())) {
                model = type;
                line = "SimConnect: User aircraft model deduced from title: " + model;
                halfSpan = gf_halfWingspan(model);
                if (halfSpan == 0.0) halfSpan = largest;
                break;
            }
        }
    }
    user.userModel = model;
    user.userHalfSpan = halfSpan;
    if (halfSpan != largest) {
        panel.userSpanKnown = true;
        line += fmt::format(", half wing span: {:.1F} meter", halfSpan * 1852.0);
    } else {
        // The largest span errs on the safe side of every collision check.
        panel.userSpanKnown = false;
        gf_showMessage("User aircraft wing span unknown, max is taken instead, please report in my Forum!", true);
    }
    gf_invalidate(Band::Status);
    user.userCategory = gf_modelCategory(model);
    line += fmt::format(", category: {}", gf_modelCategoryName(user.userCategory));
    gf_logLine(line);
}

}  // namespace

void lf_onUserTitle(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size) {
    std::string title = lf_payloadText(message, size, std::numeric_limits<size_t>::max());
    if (title.empty()) {
        gf_logLine("! title of your ac is empty?");
        return;
    }
    if (title.size() > kUserTitleChars) title.resize(kUserTitleChars);
    if (title == user.userTitle) return;
    user.userTitle = title;
    panel.userTitleText.set(title);
    gf_invalidate(Band::Status);
    gf_logLine("SimConnect: User aircraft title: " + title);
}

void lf_onUserModel(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size) {
    const std::string text = lf_payloadText(message, size, 32);
    if (text.empty())
        throw zel::UserErrorException(71, "atc_model= in [General] section of your aircraft.cfg is empty or missing");
    try {
        lf_applyUserModel(text);
    } catch (const zel::UserErrorException&) {
        throw;
    } catch (...) {
        throw zel::UserErrorException(73, "It looks like you have not selected an aircraft as user vehicle");
    }
}

void lf_onUserOnGround(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size) {
    // Before the first real position the flag is not trusted; the tick counts all the same.
    if (size >= kDataPayloadOffset + 8 && !gf_isNullBox(user.simSnapshot.latitude, user.simSnapshot.longitude)) {
        int64_t value = 0;
        std::memcpy(&value, lf_payload(message), sizeof value);
        user.userOnGround = value != 0;
        user.userOnGroundKnown = true;
    }
    run.tickPending = true;
}

void lf_onUserSnapshot(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size) {
    if (size < kDataPayloadOffset + sizeof(UserSnapshot)) {
        gf_logMarkf("User aircraft data of {} bytes, {} expected", size - kDataPayloadOffset, sizeof(UserSnapshot));
        return;
    }
    UserSnapshot snapshot;
    std::memcpy(&snapshot, lf_payload(message), sizeof snapshot);
    if (snapshot.altitude < 0.0) snapshot.altitude = 0.0;
    {
        std::lock_guard lock(simQueues.simLock);
        user.simSnapshot = snapshot;
    }

    // The first snapshot has nothing to jump from.
    const LatLon now{snapshot.latitude, snapshot.longitude};
    if (!gf_isNullBox(user.lastUserLatitude, user.lastUserLongitude) &&
        gf_distanceNm({user.lastUserLatitude, user.lastUserLongitude}, now) > kTeleportNm) {
        gf_logLine("Teleport");
        gf_requestExit(kExitRestart, 30);
    }
    user.lastUserLatitude = now.lat;
    user.lastUserLongitude = now.lon;

    std::string stand = gf_standAtPosition(now);
    if (stand != user.userStand) {
        panel.userStandText.set(stand);
        gf_invalidate(Band::Status);
        user.userStand = std::move(stand);
    }
    user.simEpoch = gf_simEpochSeconds(snapshot.zuluYear, snapshot.zuluDay, snapshot.zuluTime);
    simlink.userObjectId = message.dwObjectID;
}

int64_t gf_simEpochSeconds(int64_t year, int64_t dayOfYear, int64_t secondsOfDay) {
    // Days from 1970-01-01 to the first of January of `year`, with the calendar's leap days.
    auto leapDaysBefore = [](int64_t y) { return (y - 1) / 4 - (y - 1) / 100 + (y - 1) / 400; };
    const int64_t days = (year - 1970) * 365 + (leapDaysBefore(year) - leapDaysBefore(1970)) + (dayOfYear - 1);
    return days * 86400 + secondsOfDay;
}

namespace {
// Under parkLock.
std::string lf_standAtPosition(LatLon position) {
    if (user.parkStands.empty() || !user.userOnGround) return {};
    if (user.standCacheValid && user.standCachePosition.lat == position.lat &&
        user.standCachePosition.lon == position.lon)
        return user.standCacheResult;
    const UserStandSpot* nearest = nullptr;
    double nearestNm = kUserStandNm;
    for (const UserStandSpot& spot : user.parkStands) {
        const double d = gf_distanceNm(position, spot.position);
        if (d <= nearestNm) {
            nearestNm = d;
            nearest = &spot;
        }
    }
    user.standCacheValid = true;
    user.standCachePosition = position;
    user.standCacheResult = nearest ? nearest->name : std::string();
    return user.standCacheResult;
}
}  // namespace

std::string gf_standAtPosition(LatLon position) {
    std::lock_guard lock(user.parkLock);
    return lf_standAtPosition(position);
}

void gf_setUserParkStands(std::vector<UserStandSpot> stands, const std::string& icao) {
    std::lock_guard lock(user.parkLock);
    user.parkStands = std::move(stands);
    user.loadedParkAirport = user.parkStands.empty() ? "" : icao;
    user.standCacheValid = false;
}

void gf_setUserParkListHead(const std::string& icao, const std::string& stand) {
    std::lock_guard lock(user.parkLock);
    user.parkListHeadIcao = icao;
    user.parkListHeadStand = stand;
}

std::pair<std::string, std::string> gf_userParkListHead() {
    std::lock_guard lock(user.parkLock);
    return {user.parkListHeadIcao, user.parkListHeadStand};
}

void gf_checkUserStand() {
    const UserSnapshot snapshot = user.simSnapshot;  // SimClient is its only writer
    if (!user.userOnGroundKnown || snapshot.groundVelocity > 2.0) return;
    std::string stand, icao;
    {
        std::lock_guard lock(user.parkLock);
        stand = lf_standAtPosition({snapshot.latitude, snapshot.longitude});
        if (stand.empty() || user.parkListHeadIcao.empty()) return;
        if (user.parkListHeadIcao != user.loadedParkAirport) return;
        if (user.parkListHeadStand == stand) return;
        // Next time the user's starting stand is known, and kept free for him.
        user.parkListHeadStand = stand;
        icao = user.parkListHeadIcao;
    }
    gf_logf("User stand {} stored for {}", stand, icao);
    if (user.writeParkListHead) user.writeParkListHead();
}

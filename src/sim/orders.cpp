// SPDX-License-Identifier: MIT
#include "sim/orders.h"

#include "core/ai_aircraft.h"

#include <algorithm>
#include <utility>

namespace kes {

namespace {

constexpr std::int32_t removalTicks = 10, createTicks = 50;

Orders orders;

bool takeOut(std::deque<CreateRequest>& queue, std::uint32_t hexid) {
    const auto it = std::ranges::find(queue, hexid, &CreateRequest::hexid);
    if (it == queue.end())
        return false;
    queue.erase(it);
    return true;
}

/// The hexid of the request that was handed over; 0 = none waited.
std::uint32_t handOver(std::deque<CreateRequest>& queue) {
    if (queue.empty())
        return 0;
    const std::uint32_t hexid = queue.front().hexid;
    queueCreate(queue.front());
    queue.pop_front();
    return hexid;
}

} // namespace

const Orders& waitingOrders() {
    return orders;
}

void orderBirth(std::uint32_t hexid) {
    orders.spawnQueue.push_back(hexid);
}

std::optional<std::uint32_t> takeBirth() {
    if (orders.spawnQueue.empty())
        return std::nullopt;
    const std::uint32_t hexid = orders.spawnQueue.back();
    orders.spawnQueue.pop_back();
    return hexid;
}

std::size_t birthsUnderWay() {
    return orders.spawnQueue.size() + orders.liveCreateQueue.size();
}

void orderCreate(CreateRequest request) {
    (request.hexid <= lastStaticHexid ? orders.staticCreateQueue : orders.liveCreateQueue)
        .push_back(std::move(request));
}

bool withdrawCreate(std::uint32_t hexid) {
    if (hexid <= lastStaticHexid)
        return takeOut(orders.staticCreateQueue, hexid);
    const auto it = std::ranges::find(orders.spawnQueue, hexid);
    if (it == orders.spawnQueue.end())
        return takeOut(orders.liveCreateQueue, hexid);
    orders.spawnQueue.erase(it);
    return true;
}

void orderRemoval(std::uint32_t objectid) {
    if (std::ranges::find(orders.removalQueue, objectid) == orders.removalQueue.end())
        orders.removalQueue.push_back(objectid);
}

void forgetRemoval(std::uint32_t objectid) {
    std::erase(orders.removalQueue, objectid);
}

Moved moveOne(std::int32_t tick) {
    Moved moved;
    if (tick % removalTicks != 0)
        return moved;
    if (!orders.removalQueue.empty()) {
        queueRemove(orders.removalQueue.front());
        orders.removalQueue.pop_front();
    }
    if (tick % createTicks != 0)
        return moved;
    moved.createdLive = handOver(orders.liveCreateQueue);
    if (moved.createdLive == 0) {
        moved.staticTurn = true;
        handOver(orders.staticCreateQueue);
    }
    return moved;
}

void clearOrders() {
    orders = {};
}

} // namespace kes

#pragma once

#include <QString>

namespace brevio {

// How far an own message has got, as its author sees it.
struct Delivery {
    enum class Kind { failed, sending, sent, delivered, read };

    Kind kind = Kind::sent;
    QString failure; // only for `failed`: the reason the server gave

    static Delivery failed(QString reason) { return {Kind::failed, std::move(reason)}; }
    static Delivery sending() { return {Kind::sending, {}}; }
    static Delivery sent() { return {Kind::sent, {}}; }
    static Delivery delivered() { return {Kind::delivered, {}}; }
    static Delivery read() { return {Kind::read, {}}; }

    friend bool operator==(const Delivery&, const Delivery&) = default;
};

} // namespace brevio

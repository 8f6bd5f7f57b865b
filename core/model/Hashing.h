#pragma once

// Field-wise hashing for the value records. Qt offers qHash for its own types but not for
// std::optional, enums or QMap; hashValue covers those so every record can hash all its fields
// with one call to hashFields.

#include "model/SharedOptional.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <optional>
#include <type_traits>

namespace brevio::hashing {

constexpr size_t mix(size_t seed, size_t h) noexcept {
    return seed ^ (h + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}

template <class T> struct IsOptional : std::false_type {};
template <class T> struct IsOptional<std::optional<T>> : std::true_type {};
template <class T> struct IsOptional<SharedOptional<T>> : std::true_type {};
template <class T> struct IsList : std::false_type {};
template <class T> struct IsList<QList<T>> : std::true_type {};
template <class T> struct IsMap : std::false_type {};
template <class K, class V> struct IsMap<QMap<K, V>> : std::true_type {};

template <class T> size_t hashValue(const T& v) noexcept {
    using ::qHash;
    if constexpr (std::is_same_v<T, bool>) {
        return v ? 1231 : 1237;
    } else if constexpr (std::is_enum_v<T>) {
        return qHash(static_cast<std::underlying_type_t<T>>(v));
    } else if constexpr (IsOptional<T>::value) {
        // An absent value and a present default value must differ.
        return v ? mix(1, hashValue(*v)) : 0;
    } else if constexpr (IsList<T>::value) {
        size_t h = size_t(v.size());
        for (const auto& item : v)
            h = mix(h, hashValue(item));
        return h;
    } else if constexpr (IsMap<T>::value) {
        size_t h = size_t(v.size());
        for (auto it = v.cbegin(); it != v.cend(); ++it)
            h = mix(mix(h, hashValue(it.key())), hashValue(it.value()));
        return h;
    } else {
        return qHash(v); // Qt's overloads and the records' own, found by argument lookup
    }
}

template <class... T> size_t hashFields(size_t seed, const T&... fields) noexcept {
    size_t h = seed;
    ((h = mix(h, hashValue(fields))), ...);
    return h;
}

} // namespace brevio::hashing

#pragma once

#include <QString>

namespace brevio::InviteCode {

// The 31 symbols of a code: no I, L, O, 0 or 1.
inline constexpr char alphabet[] = "ABCDEFGHJKMNPQRSTUVWXYZ23456789";

// Upper-case, drop white space and hyphens; eight symbols become "ABCD-EFGH", anything else is
// returned cleaned but otherwise unchanged.
QString normalise(const QString& typed);

// Eight symbols drawn uniformly from the system random source, in canonical form.
QString generate();

} // namespace brevio::InviteCode

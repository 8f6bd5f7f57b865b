#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace brevio::InviteCode {

// The 31 symbols of a code: no I, L, O, 0 or 1.
inline constexpr char alphabet[] = "ABCDEFGHJKMNPQRSTUVWXYZ23456789";
inline constexpr int alphabetSize = sizeof(alphabet) - 1;
inline constexpr int codeLength = 8;

// Upper-case, drop white space and hyphens; eight characters become "ABCD-EFGH", anything else is
// returned cleaned but otherwise unchanged. Characters outside the alphabet are left to the server.
QString normalise(const QString& typed);

// Eight symbols drawn uniformly from the system random source, in canonical form.
QString generate();

// The same with the draws supplied: `draw(bound)` must return a value uniform in [0, bound).
QString generate(const std::function<std::uint32_t(std::uint32_t bound)>& draw);

} // namespace brevio::InviteCode

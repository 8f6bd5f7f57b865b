#pragma once

#include "localserver/LocalServer.h"

namespace brevio {

class ServerData;

// The invented organisation the demo starts with. Every account's password is
// LocalServer::demoPassword; message times lie shortly before the clock's now.
namespace DemoSeed {

inline constexpr char newClientNotes[] = "Nuovo cliente: mandare l'invito.";
inline constexpr char groupTitle[] = "Cantiere via Roma";

// Fills an empty store; gives the accounts created, staff first.
QList<LocalServer::SeededAccount> fill(ServerData& data, PasswordHasher& hasher);

} // namespace DemoSeed
} // namespace brevio

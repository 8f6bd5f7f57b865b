#pragma once

// Deployment values of this build: where the production server and the web pages are.
namespace brevio::AppConfig {

inline constexpr char defaultServer[] = "wss://chat.brevio.app/ws";
// The standalone test server's address on this computer (brevio-server's default).
inline constexpr char localTestServer[] = "ws://127.0.0.1:8787/ws";
inline constexpr char privacyPage[] = "https://brevio.app/privacy";
inline constexpr char downloadPage[] = "https://brevio.app/download";
// Named in the message that goes with an invite: the web client, and the desktop installer.
inline constexpr char webClient[] = "https://web.brevio.app";
inline constexpr char desktopInstaller[] = "https://brevio.app/download/linux";

} // namespace brevio::AppConfig

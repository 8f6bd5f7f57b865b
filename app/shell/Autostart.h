#pragma once

#include <QString>

namespace brevio {

// Starting Brevio when the user logs in: a desktop entry in the XDG autostart folder
// ($XDG_CONFIG_HOME/autostart, ~/.config/autostart by default). The entry is there or not; no one
// has to approve it.
class Autostart {
public:
    // `executable` is what the entry runs; the running program's path by default.
    explicit Autostart(QString executable = {});

    // $XDG_CONFIG_HOME/autostart/brevio.desktop, read from the environment at each call.
    static QString entryPath();
    // The entry for a program at `executable`.
    static QString entryContents(const QString& executable);
    // A path as the Exec key needs it: quoted when it holds anything but plain characters.
    static QString execArgument(const QString& path);

    // An entry that starts the program is in place (one turned off with Hidden=true is not).
    bool isEnabled() const;
    // Writes or removes the entry; false when the folder or the file could not be written.
    bool setEnabled(bool enabled);

private:
    QString executable_;
};

} // namespace brevio

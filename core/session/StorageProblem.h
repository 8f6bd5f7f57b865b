#pragma once

#include <QString>

namespace brevio {

// Something the store could not do with its files. The session keeps working without it (a state
// that cannot be read starts empty, a write that failed is retried with the next change), but the
// user should know that what they see may not survive a restart.
struct StorageProblem {
    enum class Kind {
        unreadableState,  // the saved chat state exists but cannot be decoded
        unreadableOutbox, // the saved outbox exists but cannot be decoded
        writeFailed,      // a file could not be written (full disk, no rights)
    };

    Kind kind = Kind::writeFailed;
    QString path;   // the file concerned
    QString detail; // what went wrong, for the log and the message shown

    friend bool operator==(const StorageProblem&, const StorageProblem&) = default;
};

} // namespace brevio

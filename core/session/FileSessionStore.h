#pragma once

#include "session/SessionStore.h"

#include <QObject>
#include <QString>
#include <QThread>
#include <functional>

namespace brevio {

// The session store as files in one private folder:
//   "sessione.json"                  the credentials
//   "chat-" + safe user id + ".json" one user's saved chat state
//   "outbox-" + safe user id + ".json" that user's outbox, newer than the one in the state file
// Every write goes to a temporary file that only becomes visible, already 0600, when it is complete
// (QSaveFile); the folder is (re)set to 0700 on every write. All file work, and the JSON encoding
// and decoding of the state, runs on one dedicated thread that works as a serial queue.
// The object itself belongs to the thread that created it (the main thread).
class FileSessionStore final : public QObject, public SessionStore {
    Q_OBJECT
public:
    // `directory` is created on the first write when it is missing.
    explicit FileSessionStore(QString directory = defaultDirectory(), QObject* parent = nullptr);
    // Waits for queued writes, then stops the store thread.
    ~FileSessionStore() override;

    // "Brevio" inside the user's application data folder (~/.local/share/Brevio on Linux), the same
    // whatever application and organisation names the process has set.
    static QString defaultDirectory();
    // The user id without every character that is neither a Unicode letter or digit nor "-".
    static QString safeUserID(const QString& userID);

    QString directory() const { return directory_; }
    QString credentialsPath() const;
    QString statePath(const QString& userID) const;
    QString outboxPath(const QString& userID) const;

    std::optional<SessionCredentials> loadCredentials() override;
    void saveCredentials(const SessionCredentials& credentials) override;
    void deleteCredentials() override;
    std::optional<ChatState> loadState(const QString& userID) override;
    void loadStateAsync(const QString& userID, StateLoaded done) override;
    void saveState(ChatState state, const QString& userID) override;
    void saveOutbox(QList<PendingMessage> outbox, const QString& userID) override;
    void deleteState(const QString& userID) override;
    void flush() override;
    void whenWritten(std::function<void()> done) override;
    void setProblemHandler(ProblemHandler handler) override {
        problemHandler_ = std::move(handler);
    }

    // Runs `work` on the store thread after everything queued before it (for measurements).
    void post(std::function<void()> work);

private:
    void runSync(const std::function<void()>& work);
    // Store thread only.
    bool ensureDirectory() const;
    // Calls `produce` with a sink that appends to the file; the file only replaces the old one
    // when `produce` and every write succeeded. A failure is reported.
    using FileWriter = std::function<bool(const TextSink& sink)>;
    bool writeFile(const QString& path, const FileWriter& produce);
    std::optional<ChatState> readState(const QString& userID);
    // Hands a problem to the handler on the owner's thread.
    void report(StorageProblem problem);

    QString directory_;
    QThread thread_;
    QObject* worker_ = nullptr;     // lives on thread_; queued work is delivered to it
    ProblemHandler problemHandler_; // owner's thread only
};

} // namespace brevio

#pragma once

#include "link/MixdeskPlatform.h"
#include "link/ScriptRunner.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <sys/types.h>

// The query script this program ships (resources/query_shots) only prints
// the answer file of the running production application. Started four times
// a second as a shell reading that file a byte at a time, it costs several
// times what the rest of the update tick does. While the configured script
// is that very file, byte for byte, the query is answered here instead, with
// the same bytes, texts and exit status the script gives. Wherever the
// script's outcome depends on more than a regular file's bytes (a folder, a
// FIFO, a file that cannot be opened, an answer larger than a run may print)
// the script itself is run, so nothing but the cost changes.
namespace ShippedQuery {

// What a run of the script ends with, as its parent sees it.
struct Outcome {
    int exitStatus = 0;
    QByteArray standardOutput;
    QByteArray standardError;
};

// Whose query it is: the script's user is its real user, and files count as
// its own when they belong to its effective user.
struct User {
    uid_t real = 0;
    uid_t effective = 0;
};

User currentUser();

// The script's outcome for this value of XDG_RUNTIME_DIR (empty when unset)
// and user, or nothing where only running the script can tell.
std::optional<Outcome> answer(const QByteArray& runtimeDirectory, const User& user);

// The script as shipped, as built into this program.
const QByteArray& shippedText();

// Whether the file holds exactly the shipped script. Read on every call: an
// edited script is run as it is from the next query on.
bool isShippedScript(const QString& file);

} // namespace ShippedQuery

// The shipped query script, loaded: answered in this process where that
// gives what the script would, and run as a child process elsewhere.
class ShippedQueryScript : public LoadedScript {
public:
    explicit ShippedQueryScript(std::unique_ptr<ScriptRunner> script);

    ScriptResult execute() override;

private:
    std::unique_ptr<ScriptRunner> m_script;
};

#include "DigestCommand.h"

#include "base/StandardOutput.h"
#include "lock/PasswordDigest.h"

namespace {

int runDigest(const QStringList& arguments)
{
    const CommandLine::Command command = digestCommand();
    const CommandLine::ParsedArguments parsed = CommandLine::parse(arguments);
    if (const std::optional<int> unknown = CommandLine::rejectUnknownFlags(command, parsed)) {
        return *unknown;
    }
    if (parsed.positional.size() != 1) {
        return CommandLine::usageError(command, QStringLiteral("expected exactly one TEXT"));
    }
    printLine(passwordDigest(parsed.positional.first()));
    return CommandLine::exitOk;
}

} // namespace

CommandLine::Command digestCommand()
{
    return {
        QStringLiteral("digest"),
        QStringLiteral("digest [--] TEXT"),
        QStringLiteral("Print the unlock-password digest of TEXT: SHA-256 of its UTF-8 bytes, lower-case hex."),
        runDigest,
        { QStringLiteral("  --  what follows is TEXT, even when it starts with --") },
    };
}

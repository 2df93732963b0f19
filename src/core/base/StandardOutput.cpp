#include "base/StandardOutput.h"

#include <cstdio>

namespace {

void writeLine(std::FILE* stream, const QString& line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

} // namespace

void printLine(const QString& line)
{
    writeLine(stdout, line);
}

void printErrorLine(const QString& line)
{
    writeLine(stderr, line);
}

#include "base/FatalError.h"

#include "base/StandardOutput.h"

#include <cstdio>
#include <cstdlib>

void fatalError(const QString& what)
{
    std::fflush(stdout);
    printErrorLine(QStringLiteral("fatal error: ") + what);
    std::abort();
}

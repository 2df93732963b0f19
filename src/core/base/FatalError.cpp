#include "base/FatalError.h"

#include <cstdio>
#include <cstdlib>

void fatalError(const QString& what)
{
    std::fflush(stdout);
    std::fprintf(stderr, "fatal error: %s\n", what.toLocal8Bit().constData());
    std::fflush(stderr);
    std::abort();
}

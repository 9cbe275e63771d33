#include "store/check.h"

#include "store/log.h"
#include "store/status.h"

#include <cstdlib>

void vyroCheckFailed(const char* condition, const char* file, int line)
{
    logLine(QStringLiteral("Check failed: %1 (%2:%3)").arg(QLatin1String(condition), QLatin1String(file)).arg(line));
}

void vyroResultHasNoValue(const Status& status)
{
    logLine(QStringLiteral("The value of a failed result was read: %1").arg(status.toString()));
    std::abort();
}

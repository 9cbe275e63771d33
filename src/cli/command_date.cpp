#include "cli/commandline.h"
#include "model/naturaldatereader.h"
#include "store/recordjson.h"

// Needs no data file: the reader works on the text and the clock alone.
int runDate(CommandEnvironment& env)
{
    if (env.arguments().size() != 1)
        return env.fail(QStringLiteral("date takes one TEXT"), ExitUsage);
    const auto date = dateWithNaturalLanguageString(env.arguments().first(), QDateTime::currentDateTime());
    if (!date)
        return env.fail(QStringLiteral("\"%1\" reads as no date").arg(env.arguments().first()));
    env.out() << isoDateString(*date) << Qt::endl;
    return ExitOk;
}

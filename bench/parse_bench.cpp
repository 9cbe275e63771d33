// Lines per second through the quick-entry reader, with 1,000 contexts and 1,000 projects in the store.

#include "capture/tasknameanalyzer.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/project.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <QRandomGenerator>
#include <QTemporaryFile>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

struct World {
    ObjectContext context {managedObjectModel()};
    QStringList lines;

    World()
    {
        static const char* const words[] = {"home", "office", "garden", "calls", "errands", "computer", "shop", "car", "kitchen", "desk"};
        QRandomGenerator random(7);
        auto name = [&](int i) { return QStringLiteral("%1 %2 %3").arg(QLatin1String(words[i % 10]), QLatin1String(words[(i / 10) % 10])).arg(i); };
        for (int i = 0; i < 1000; ++i) {
            context.insertNewObject<Context>(QStringLiteral("context"))->setName(name(i));
            context.insertNewObject<Project>(QStringLiteral("project"))->setName(name(i * 7 + 3));
        }
        // A realistic mix: most lines name a context, many a project, some dates, tags, notes, marks;
        // one in ten names nothing that exists.
        for (int i = 0; i < 1000; ++i) {
            const int c = int(random.bounded(1000)), p = int(random.bounded(1000));
            QString line;
            if (i % 10 != 9)
                line += QStringLiteral("@%1 ").arg(QLatin1String(words[c % 10]));
            line += QStringLiteral("Call the plumber about item %1").arg(i);
            if (i % 3 == 0)
                line += QStringLiteral(" [%1]").arg(i % 10 == 9 ? QStringLiteral("nothing here") : name(p * 7 + 3).left(8));
            if (i % 4 == 0)
                line += QStringLiteral(" {house,repairs}");
            if (i % 2 == 0)
                line += QStringLiteral(": bring the invoice");
            if (i % 5 == 0)
                line += QStringLiteral("!!");
            if (i % 3 == 1)
                line += QStringLiteral(" #tomorrow, next friday");
            lines << line;
        }
    }
};

void BM_ParseTaskName(benchmark::State& state, bool logToFile)
{
    static World world;
    QTemporaryFile logFile;
    logFile.open();
    std::FILE* sink = std::fopen(QFile::encodeName(logToFile ? logFile.fileName() : QStringLiteral("/dev/null")).constData(), "a");
    // As the command line opens its log: a write per line.
    std::setvbuf(sink, nullptr, _IOLBF, 4096);
    setLogSink(sink);
    const TaskNameAnalyzer analyzer(world.context);
    qsizetype i = 0;
    for (auto _ : state) {
        auto result = analyzer.parseTaskName(world.lines[i]);
        benchmark::DoNotOptimize(result);
        i = (i + 1) % world.lines.size();
    }
    setLogSink(nullptr);
    std::fclose(sink);
    state.counters["lines_per_second"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK_CAPTURE(BM_ParseTaskName, trace_to_log_file, true)->MinTime(2.0);
BENCHMARK_CAPTURE(BM_ParseTaskName, trace_discarded, false)->MinTime(2.0);
BENCHMARK_MAIN();

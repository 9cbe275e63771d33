// Export benchmarks on a generated data file of 100,000 tasks (--tasks=N for another size): every
// context with pending tasks exported through the styled HTML set, once as text in memory and once
// written to a file, with the contexts view's stored filter and sort. Target: at most 1 s for the file.
//
//   vyro_export_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"
#include "listsfixture.h"

#include "app/preferences.h"
#include "exchange/exportcontroller.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/datamodel.h"
#include "model/startupdata.h"
#include "store/objectcontext.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <memory>

namespace {

int g_taskCount = 100000;

using Fixture = ListsFixture;

Fixture* fixture(benchmark::State& state)
{
    return listsFixture(state, g_taskCount);
}

ExportController allContextsAsStyledHtml(Fixture& f)
{
    ExportController exporter(*f.views, ExportTemplates(f.dir.filePath(QStringLiteral("no-user-templates"))));
    exporter.setExportType(1);
    exporter.setExportMode(1);
    return exporter;
}

void BM_ExportAllContextsToText(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    const ExportController exporter = allContextsAsStyledHtml(*f);
    qsizetype size = 0;
    for (auto _ : state) {
        Result<QString> text = exporter.exportContexts(true);
        if (!text) {
            state.SkipWithError(qPrintable(text.status().toString()));
            return;
        }
        size = text->size();
        benchmark::DoNotOptimize(size);
    }
    state.counters["characters"] = double(size);
}
BENCHMARK(BM_ExportAllContextsToText)->Unit(benchmark::kMillisecond);

void BM_ExportAllContextsToFile(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    const ExportController exporter = allContextsAsStyledHtml(*f);
    const QString path = f->dir.filePath(QStringLiteral("contexts.html"));
    for (auto _ : state) {
        if (Status s = exporter.exportContextsToFile(path, true); !s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            return;
        }
    }
    state.counters["bytes"] = double(QFileInfo(path).size());
}
BENCHMARK(BM_ExportAllContextsToFile)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    const int status = runBenchmarkMain(argc, argv, g_taskCount);
    g_listsFixture.reset();
    return status;
}

#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

#include <utility>

// The real `vyro` binary (VYRO_BINARY), run to its end.
struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

// With its XDG data and configuration folders under `root`, `variables` added to the environment and
// `input` on standard input; relative paths are `workingDirectory`'s.
inline Outcome runVyro(const QString& root, const QString& workingDirectory, const QStringList& arguments,
                       const QList<std::pair<QString, QString>>& variables = {}, const QByteArray& input = {})
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_DATA_HOME"), root + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), root + QStringLiteral("/config"));
    for (const auto& [name, value] : variables)
        env.insert(name, value);
    QProcess p;
    p.setProcessEnvironment(env);
    p.setWorkingDirectory(workingDirectory);
    p.start(QStringLiteral(VYRO_BINARY), arguments);
    p.write(input);
    p.closeWriteChannel();
    EXPECT_TRUE(p.waitForFinished(60000));
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
}

// The task names of a `vyro dump`, sorted; "!" and the error when the dump failed.
inline QStringList sortedTaskNames(const Outcome& dump)
{
    if (dump.exitCode != 0)
        return {QStringLiteral("!") + dump.err};
    QStringList names;
    for (const QJsonValue& t : QJsonDocument::fromJson(dump.out.toUtf8()).object().value(QStringLiteral("tasks")).toArray())
        names << t.toObject().value(QStringLiteral("name")).toString();
    names.sort();
    return names;
}

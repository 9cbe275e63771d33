#include "app/datafilepaths.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

bool overrideGiven(const DataFolderOverride& dataFolder)
{
    return dataFolder.has_value() && !dataFolder->isEmpty();
}

// A dangling link counts as nothing, as it does for the custom folder check.
void createFolderIfNothingExists(const QString& folder)
{
    if (!QFileInfo::exists(folder))
        QDir().mkpath(folder);
}

QString defaultDataFilePath(const QString& fileName, const DataFolderOverride& dataFolder)
{
    const QString folder = overrideGiven(dataFolder) ? QFileInfo(*dataFolder).absoluteFilePath()
                                                     : applicationSupportFolder();
    createFolderIfNothingExists(folder);
    return dataFileInFolder(folder, fileName);
}

QString currentDataFilePath(const Preferences& preferences, const QString& fileName,
                            const DataFolderOverride& dataFolder)
{
    if (!overrideGiven(dataFolder) && preferences.boolForKey(PreferenceKey::dataFilePathIsCustom)) {
        const QString customFolder = preferences.stringForKey(PreferenceKey::dataFilePath);
        if (!customFolder.isEmpty() && QFileInfo::exists(customFolder))
            return dataFileInFolder(customFolder, fileName);
    }
    return defaultDataFilePath(fileName, dataFolder);
}

} // namespace

QString applicationSupportFolder()
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        base = QDir::tempPath();
    return dataFileInFolder(base, u"Vyro"_s);
}

QString debugLogFilePath()
{
    return dataFileInFolder(applicationSupportFolder(), u"debug.log"_s);
}

QString dataFileInFolder(const QString& folder, const QString& fileName)
{
    return QDir::cleanPath(folder + u'/' + fileName);
}

QString computeDefaultDataFilePath(const DataFolderOverride& dataFolder)
{
    return defaultDataFilePath(QString(dataFileName), dataFolder);
}

QString computeOldDefaultDataFilePath(const DataFolderOverride& dataFolder)
{
    return defaultDataFilePath(QString(oldDataFileName), dataFolder);
}

QString computeCurrentDataFilePath(const Preferences& preferences, const DataFolderOverride& dataFolder)
{
    return currentDataFilePath(preferences, QString(dataFileName), dataFolder);
}

QString computeOldCurrentDataFilePath(const Preferences& preferences, const DataFolderOverride& dataFolder)
{
    return currentDataFilePath(preferences, QString(oldDataFileName), dataFolder);
}

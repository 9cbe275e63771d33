#pragma once

#include <QLatin1StringView>
#include <QString>

#include <optional>

class Preferences;

inline constexpr QLatin1StringView dataFileName{"Vyro.sql"};
// The data file of old versions, migrated into a new data file at start-up when that one is missing.
inline constexpr QLatin1StringView oldDataFileName{"Vyro.xml"};

// A data folder that replaces the one the preferences choose, for the whole run (the command line's
// --data-dir). Not given, or an empty path: no replacement. A relative path is taken from the working
// directory at the time of the call.
using DataFolderOverride = std::optional<QString>;

// "$XDG_DATA_HOME/Vyro", or "<temp dir>/Vyro" when the platform reports no data location. Not created.
QString applicationSupportFolder();

// Always in applicationSupportFolder(), whatever data folder is in use. The folder is not created here.
QString debugLogFilePath();

// folder + "/" + fileName, with the folder's trailing separators and "."/".." parts cleaned away, so
// that two spellings of one folder give one path.
QString dataFileInFolder(const QString& folder, const QString& fileName);

// The data file in the default folder (or the override), creating that folder when nothing exists at its
// path. A failure to create it is not reported: opening the data file reports it.
QString computeDefaultDataFilePath(const DataFolderOverride& dataFolder = std::nullopt);
QString computeOldDefaultDataFilePath(const DataFolderOverride& dataFolder = std::nullopt);

// The data file in the custom folder when "dataFilePathIsCustom" is on, "dataFilePath" is not empty and
// something exists at that path; otherwise, without a message, the default data file. An override wins
// over both.
QString computeCurrentDataFilePath(const Preferences& preferences,
                                   const DataFolderOverride& dataFolder = std::nullopt);
QString computeOldCurrentDataFilePath(const Preferences& preferences,
                                      const DataFolderOverride& dataFolder = std::nullopt);

#pragma once

#include <QString>
#include <QUrl>

#include <functional>

// Links opened and files shown the desktop's way.
//
// A file is shown selected in the file manager through the session's FileManager1 service. Where no
// file manager offers that (or the call fails) the file's folder is opened with the default handler
// instead, so the user at least lands beside the file.
class FileManager {
public:
    // How a URL is handed to its default handler; the desktop's own unless a test gives one.
    using UrlOpener = std::function<bool(const QUrl&)>;

    // `busName`: the D-Bus connection to use, by its Qt connection name; empty for the session bus.
    explicit FileManager(QString busName = {}, UrlOpener opener = {});

    // Shows the file of a "file:" link. Asynchronous: `done`, when given, is told afterwards whether the
    // file manager took the request (false: the folder was opened instead, or the link is no file).
    void reveal(const QString& fileLink, std::function<void(bool)> done = {}) const;

    // Opens a link: "vyro:" links (any case) go to `taskLink`, inside this program; every other link to
    // its default handler. False when nothing took it.
    bool open(const QString& link, const std::function<void(const QString&)>& taskLink) const;

    // The folder a file link lives in, as a link; empty for a link that is no local file.
    static QUrl folderOf(const QString& fileLink);

private:
    QString m_busName;
    UrlOpener m_opener;
};

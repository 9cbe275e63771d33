#pragma once

#include <QString>
#include <QStringList>

class QMimeData;
class Task;

// A task's links are absolute URL texts. Each has a kind, told by its text (the first rule that applies
// wins), which gives the token's label and the title of its first menu item.
enum class LinkKind {
    File,
    MailMessage,
    VoodooPadPage,
    JournlerEntry,
    EagleFilerRecord,
    YojimboEntry,
    TextWranglerFile,
    VyroItem,
    MailAddress,
    Other,
};

LinkKind linkKind(const QString& link);
// The token's text; "" for text that is no URL.
QString linkLabel(const QString& link);
// The menu's first item: open the link with its handler ("Jump to Vyro item" for one of our tasks).
QString linkOpenTitle(const QString& link);
// The menu's item that shows a file in the file manager; "" for links that are no files.
QString linkRevealTitle(const QString& link);

// What the user typed in the links field as a link: a path from "/" is a file, text without any ":" a
// web address, anything else a URL as written. "" when it does not read as a URL.
QString linkFromTypedText(const QString& text);

// The links a clipboard or a drop offers: its file names as file links, else its plain text when that
// contains "://" and reads as a URL. Plain text without "://" is never a link.
QStringList linksFromMimeData(const QMimeData& data);

// Adds to `task`'s links each of `incoming` that it does not have yet, writing the list back only when
// one was added; the ones added, in order.
QStringList appendNewLinks(Task& task, const QStringList& incoming);

// Clipboard content for copied links: one link as plain text, several as a URI list and as plain text,
// one per line. Owned by the caller (the clipboard takes it).
QMimeData* mimeDataForLinks(const QStringList& links);

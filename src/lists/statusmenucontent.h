#pragma once

#include <QString>
#include <QUrl>

#include <vector>

class Context;
class Preferences;
class Project;
class TabViewController;

// One entry of the status menu: what it reads and what choosing it does. A folder entry adds a task to
// its folder; a link entry opens its URL with the desktop's default handler.
struct StatusMenuEntry {
    QString title;
    Context* context = nullptr;
    Project* project = nullptr;
    QUrl url;
};

// The four submenus of the status menu, read afresh from the lists every time the menu opens: the
// contexts and the projects in their lists' order, titled with their indented path names; then one entry
// per link of the open tasks (neither done nor archived) in the order they were made, web links
// ("host: task name") apart from file links ("file name: task name"). Texts that do not parse as
// absolute URLs give no entry.
struct StatusMenuContent {
    std::vector<StatusMenuEntry> contexts;
    std::vector<StatusMenuEntry> projects;
    std::vector<StatusMenuEntry> webLinks;
    std::vector<StatusMenuEntry> fileLinks;
};

StatusMenuContent statusMenuContent(const TabViewController& views);

// Choosing a folder entry: "New task" in that context (no project, no dates, priority 0) or that project,
// shown in the window with its name being edited. A folder deleted since the menu was built, or a link
// entry, does nothing here: the caller opens links.
void chooseStatusMenuEntry(TabViewController& views, const StatusMenuEntry& entry);

// The quick-tags menu's items: one per quick tag 1 to 9 whose list is not empty, ascending, titled
// "(n) tag,tag".
struct QuickTagMenuItem {
    int number = 0;
    QString title;
};
std::vector<QuickTagMenuItem> quickTagMenuItems(const Preferences& preferences);

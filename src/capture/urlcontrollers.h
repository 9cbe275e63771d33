#pragma once

#include <QString>

class TabViewController;

// Opens a link to one of our tasks ("vyro://<store>/task/p<key>"): the task's archive category when it is
// archived, else its project when the projects view is preferred and it has one, else its context; the
// task selected and its view brought forward. False, silently, for a link that names no task.
class AppURLController {
public:
    explicit AppURLController(TabViewController& views) : m_views(views) {}
    bool handleURL(const QString& url, bool preferProjectsTab);

private:
    TabViewController& m_views;
};

// The get-URL event: by the link's scheme, "vyro" goes to AppURLController (preferring the projects view
// when it is the one shown), the editor schemes are logged, anything else is ignored.
void handleGetURL(TabViewController& views, const QString& url);

// The open-link service: acts only on text that begins with "vyro" (in any case).
void openVyroLinkAndSwitchToItem(TabViewController& views, const QString& text);

#include "ui/preferenceswindow.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/clouddiskaccount.h"
#include "exchange/synccontroller.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;
namespace Key = PreferenceKey;

namespace {

QFormLayout* formOn(QWidget* page)
{
    auto* form = new QFormLayout(page);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setContentsMargins(12, 12, 12, 12);
    return form;
}

QLabel* section(const QString& text)
{
    auto* label = new QLabel(text);
    QFont bold = label->font();
    bold.setWeight(QFont::DemiBold);
    label->setFont(bold);
    return label;
}

QColor toColor(const RgbColor& c)
{
    return QColor::fromRgbF(float(c.red), float(c.green), float(c.blue));
}

} // namespace

PreferencesWindow::PreferencesWindow(Preferences& preferences, PreferencesWindowServices services, QWidget* mainWindow)
    : QDialog(mainWindow), m_preferences(preferences), m_services(std::move(services)), m_controller(preferences, *this)
{
    setObjectName(u"preferencesWindow"_s);
    setAccessibleName(tr("Preferences"));
    setWindowTitle(tr("Preferences"));
    setWindowModality(Qt::WindowModal);

    m_tabs = new QTabWidget;
    m_tabs->setObjectName(u"preferencesTabs"_s);
    m_tabs->setAccessibleName(tr("Preference pages"));
    m_tabs->addTab(buildGeneralTab(), tr("General"));
    m_tabs->addTab(buildNewTasksTab(), tr("New Tasks && Lists"));
    m_tabs->addTab(buildKeyboardTab(), tr("Keyboard"));
    m_tabs->addTab(buildQuickTagsTab(), tr("Quick Tags"));
    m_tabs->addTab(buildMailTab(), tr("Mail Capture"));
    m_tabs->addTab(buildSyncTab(), tr("Sync && Cloud Disk"));
    m_tabs->addTab(buildDataFileTab(), tr("Data File"));

    auto* buttons = new QDialogButtonBox;
    QPushButton* done = buttons->addButton(tr("Done"), QDialogButtonBox::AcceptRole);
    done->setObjectName(u"preferencesDone"_s);
    done->setAccessibleName(tr("Done"));
    done->setDefault(true);
    connect(done, &QPushButton::clicked, this, &PreferencesWindow::preferencesDone);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(buttons);
    // Every page's tab in sight: scroll arrows on the tab bar hide pages from the user.
    const QMargins margins = layout->contentsMargins();
    setMinimumWidth(m_tabs->tabBar()->sizeHint().width() + margins.left() + margins.right() + 8);
}

PreferencesWindow::~PreferencesWindow() = default;

const std::vector<std::pair<QString, int>>& PreferencesWindow::hotKeyChoices()
{
    static const std::vector<std::pair<QString, int>> choices = {
        {tr("None"), 0}, {u"F1"_s, 122}, {u"F2"_s, 120}, {u"F3"_s, 99},   {u"F4"_s, 118},  {u"F5"_s, 96},   {u"F6"_s, 97},
        {u"F7"_s, 98},   {u"F8"_s, 100}, {u"F9"_s, 101}, {u"F10"_s, 109}, {u"F11"_s, 103}, {u"F12"_s, 111},
    };
    return choices;
}

QWidget* PreferencesWindow::buildGeneralTab()
{
    auto* page = new QWidget;
    QFormLayout* form = formOn(page);
    form->addRow(section(tr("Window")));
    form->addRow(boolBox(Key::showStatusBarItem, tr("Show the status menu in the panel")));
    form->addRow(boolBox(Key::showBadge, tr("Show the Inbox count on the task bar")));
    form->addRow(boolBox(Key::floatingMainWindowByDefault, tr("Keep the main window above other windows")));
    form->addRow(boolBox(Key::toolbarShowTextOnly, tr("Show text only in the toolbar")));
    form->addRow(boolBox(Key::checkVersionOnStartup, tr("Check for a new version at start")));
    // Label and control side by side on one line, as the rows around them read.
    auto* warn = new QHBoxLayout;
    warn->addWidget(new QLabel(tr("Warn when the Inbox holds more than")));
    warn->addWidget(integerSpin(Key::displayRedIconForInboxWithMoreTasksThan, tr("Inbox warning count"), 1, 9999, tr(" tasks")));
    warn->addStretch(1);
    form->addRow(warn);
    auto* remind = new QHBoxLayout;
    remind->addWidget(new QLabel(tr("Remind of tasks due on a day without a time at")));
    remind->addWidget(integerSpin(Key::reminderHourForDueDates, tr("Reminder hour for due dates"), 0, 23, tr(" h")));
    remind->addStretch(1);
    form->addRow(remind);

    m_colourButton = new QToolButton;
    m_colourButton->setObjectName(u"backgroundColorForTables"_s);
    m_colourButton->setAccessibleName(tr("Background colour of lists"));
    m_colourButton->setIconSize(QSize(40, 16));
    connect(m_colourButton, &QToolButton::clicked, this, &PreferencesWindow::chooseColour);
    setColorWell(m_colour);
    auto* background = new QHBoxLayout;
    background->addWidget(new QLabel(tr("Background of lists")));
    background->addWidget(m_colourButton);
    background->addStretch(1);
    form->addRow(background);

    form->addRow(section(tr("When the program is in the background")));
    auto* hide = new QHBoxLayout;
    hide->addWidget(boolBox(Key::hideApplicationIfWindowNotActive, tr("Hide the program after")));
    hide->addWidget(integerSpin(Key::hideApplicationIfWindowNotActiveAfterSeconds, tr("Hide after seconds"), 1, 86400, tr(" s"), true));
    hide->addStretch(1);
    form->addRow(hide);
    form->addRow(boolBox(Key::cleanUpWhenWindowLostsFocus, tr("Clean up completed tasks")));
    form->addRow(boolBox(Key::autoSaveWhenWindowLostsFocus, tr("Save the data file")));

    form->addRow(section(tr("Saving and clean-up")));
    auto* save = new QHBoxLayout;
    save->addWidget(boolBox(Key::autoSave, tr("Save every")));
    save->addWidget(integerSpin(Key::autoSaveAfterMinutes, tr("Save every minutes"), 1, 1440, tr(" min"), true));
    save->addStretch(1);
    form->addRow(save);
    form->addRow(boolBox(Key::cleanUpImmediately, tr("Clean up a task as soon as it is completed")));
    return page;
}

QWidget* PreferencesWindow::buildNewTasksTab()
{
    auto* page = new QWidget;
    QFormLayout* form = formOn(page);
    form->addRow(section(tr("New tasks")));
    form->addRow(boolBox(Key::copyPriorityToNewTasks, tr("Take the priority of the selected task")));
    form->addRow(boolBox(Key::copyContainerToNewTasks, tr("Take the context and project of the selected task")));
    form->addRow(boolBox(Key::setStartDateToTodayForNewTasks, tr("Start today")));
    form->addRow(boolBox(Key::autoCapitalizeTaskNames, tr("Begin task names with a capital letter")));
    form->addRow(boolBox(Key::autoFlagTasksByDueDates, tr("Flag tasks by their due dates")));
    form->addRow(boolBox(Key::copyDetailsFromCompletedTasksToNextRecurrentTasks,
                         tr("The next task of a series keeps the notes, links and tags")));
    form->addRow(boolBox(Key::quickEntryMode, tr("Read quick-entry syntax in the name field of the task tables")));
    form->addRow(section(tr("Lists")));
    form->addRow(boolBox(Key::datesUseNaturalLanguage, tr("Dates in words (\"Today\", \"next friday\")")));
    form->addRow(boolBox(Key::treeExpandSelectedItems, tr("Expand a folder when it is selected")));
    form->addRow(boolBox(Key::typeAheadAlwaysForFolders, tr("Typing in a list always searches the folders")));
    form->addRow(boolBox(Key::typeAheadCollapseFoldersBefore, tr("Collapse the folders before searching them")));
    return page;
}

QWidget* PreferencesWindow::buildKeyboardTab()
{
    auto* page = new QWidget;
    QFormLayout* form = formOn(page);
    form->addRow(section(tr("Hot keys")));
    form->addRow(tr("Capture from the front application:"),
                 integerChoice(Key::currentAppToVyroKeyboardShortcut, tr("Capture hot key"), hotKeyChoices()));
    form->addRow(tr("Quick add:"), integerChoice(Key::quickAddKeyboardShortcut, tr("Quick add hot key"), hotKeyChoices()));
    form->addRow(tr("Quick type-in:"), integerChoice(Key::quickTypeInKeyboardShortcut, tr("Quick type-in hot key"), hotKeyChoices()));
    form->addRow(section(tr("Show the main window after")));
    form->addRow(boolBox(Key::showGUIAfterCurrentAppToVyroAction, tr("a capture")));
    form->addRow(boolBox(Key::showGUIAfterQuickAddWindow, tr("quick add")));
    form->addRow(boolBox(Key::showGUIAfterQuickTypeInWindow, tr("quick type-in")));
    form->addRow(boolBox(Key::showGUIForQSActions, tr("an action from another program")));
    return page;
}

QWidget* PreferencesWindow::buildQuickTagsTab()
{
    auto* page = new QWidget;
    QFormLayout* form = formOn(page);
    auto* intro = new QLabel(tr("Tags that one command gives the selected tasks, separated by commas:"));
    intro->setWordWrap(true);
    form->addRow(intro);
    for (int n = 1; n <= quickTagCount; ++n)
        form->addRow(tr("Quick tag %1:").arg(n), stringListField(quickTagKey(n), tr("Quick tag %1").arg(n)));
    return page;
}

QWidget* PreferencesWindow::buildMailTab()
{
    auto* page = new QWidget;
    QFormLayout* form = formOn(page);
    form->addRow(section(tr("Task name")));
    form->addRow(boolBox(Key::appleMailIntegrationIncludeSenderInTaskName, tr("Sender")));
    form->addRow(boolBox(Key::appleMailIntegrationIncludeSubjectInTaskName, tr("Subject")));
    form->addRow(section(tr("Task note")));
    form->addRow(boolBox(Key::appleMailIntegrationIncludeSenderInTaskNote, tr("Sender")));
    form->addRow(boolBox(Key::appleMailIntegrationIncludeSubjectInTaskNote, tr("Subject")));
    form->addRow(boolBox(Key::appleMailIntegrationIncludeCCInTaskNote, tr("Copies (CC)")));
    form->addRow(boolBox(Key::appleMailIntegrationIncludeBodyInTaskNote, tr("Message text")));
    form->addRow(section(tr("Message tags")));
    form->addRow(boolBox(Key::currentAppToVyroMailTags2SupportEnabled, tr("Read the tags kept with the message")));
    form->addRow(boolBox(Key::currentAppToVyroMailTags2UseNoteAsTaskName, tr("Use the message's note as the task name")));
    return page;
}

QWidget* PreferencesWindow::buildSyncTab()
{
    auto* page = new QWidget;
    QFormLayout* form = formOn(page);
    form->addRow(section(tr("Calendar server")));
    form->addRow(tr("CalDAV server:"), textField(Key::calendarServer, tr("Calendar server address"), u"https://cloud.example.org/remote.php/dav"_s));
    form->addRow(tr("User:"), textField(Key::calendarUser, tr("Calendar server user name"), QString()));
    form->addRow(tr("Password:"), passwordField(u"calendarPassword"_s, tr("Calendar server password"), [this]() -> std::optional<KeyringEntry> {
        const CalendarAccount account = calendarAccountFrom(m_preferences);
        if (account.server.isEmpty() || account.user.isEmpty())
            return std::nullopt;
        return calendarKeyringEntry(account);
    }));
    form->addRow(QString(), forgetCalendarServerButton());
    form->addRow(tr("Send:"), integerChoice(Key::syncTasksMode, tr("Tasks to send"),
                                            {{tr("All tasks"), 0},
                                             {tr("Open tasks, not waiting or maybe"), 1},
                                             {tr("Open tasks, not waiting, maybe or future"), 2},
                                             {tr("Open next actions only"), 3}}));
    form->addRow(tr("Title:"), integerChoice(Key::syncTaskProjectNameMode, tr("Project name in the title"),
                                             {{tr("Task [Project]"), 0}, {tr("[Project] Task"), 1}}));
    form->addRow(boolBox(Key::syncWhenWindowLostsFocus, tr("Sync when the program goes to the background")));
    form->addRow(boolBox(Key::syncWhenQuittingApp, tr("Sync when quitting")));
    form->addRow(section(tr("After-sync command")));
    form->addRow(tr("Command:"), textField(Key::afterSyncCommand, tr("After-sync command"), u"vdirsyncer sync"_s));
    form->addRow(boolBox(Key::iSyncWhenSyncing, tr("Run it after every sync")));
    form->addRow(boolBox(Key::iSyncWhenWindowLostsFocus, tr("Run it after the sync in the background")));
    form->addRow(boolBox(Key::iSyncWhenQuittingApp, tr("Run it after the sync at quit")));
    form->addRow(section(tr("Cloud disk")));
    form->addRow(boolBox(Key::dotMac14SyncingEnabled, tr("Keep the data file in step through the cloud disk")));
    form->addRow(tr("WebDAV server:"), textField(Key::cloudDiskServer, tr("Cloud disk server address"), u"https://cloud.example.org/remote.php/webdav"_s));
    form->addRow(tr("User:"), textField(Key::cloudDiskUser, tr("Cloud disk user name"), QString()));
    form->addRow(tr("Password:"), passwordField(u"cloudDiskPassword"_s, tr("Cloud disk password"), [this]() -> std::optional<KeyringEntry> {
        const CloudDiskAccount account = cloudDiskAccountFrom(m_preferences);
        if (account.server.isEmpty() || account.user.isEmpty())
            return std::nullopt;
        return cloudDiskKeyringEntry(account);
    }));
    form->addRow(tr("Or a folder:"), textField(Key::cloudDiskFolder, tr("Cloud disk folder kept by a sync client"),
                                                 tr("A folder a sync client keeps; it wins over the server")));
    return page;
}

QWidget* PreferencesWindow::buildDataFileTab()
{
    auto* page = new QWidget;
    QFormLayout* form = formOn(page);
    form->addRow(boolBox(Key::dataFilePathIsCustom, tr("Keep the data file in a folder of my choice")));
    m_dataFolder = new QLineEdit;
    m_dataFolder->setObjectName(QString(Key::dataFilePath));
    m_dataFolder->setAccessibleName(tr("Data folder"));
    m_dataFolder->setReadOnly(true);
    m_loaders.push_back([this] { m_dataFolder->setText(m_preferences.stringForKey(Key::dataFilePath)); });
    auto* choose = new QPushButton(tr("Choose…"));
    choose->setObjectName(u"chooseDataFolder"_s);
    choose->setAccessibleName(tr("Choose the data folder"));
    connect(choose, &QPushButton::clicked, this, &PreferencesWindow::chooseDataFolder);
    auto* row = new QHBoxLayout;
    row->addWidget(m_dataFolder, 1);
    row->addWidget(choose);
    form->addRow(tr("Folder:"), row);
    auto* note = new QLabel(tr("The data file is copied into the chosen folder when this window closes and is used "
                               "from the next start on."));
    note->setWordWrap(true);
    note->setForegroundRole(QPalette::PlaceholderText);
    form->addRow(note);
    return page;
}

QWidget* PreferencesWindow::boolBox(QLatin1StringView key, const QString& text)
{
    auto* box = new QCheckBox(text);
    box->setObjectName(QString(key));
    box->setAccessibleName(text);
    m_loaders.push_back([this, box, key] { box->setChecked(m_preferences.boolForKey(key)); });
    connect(box, &QCheckBox::toggled, this, [this, key](bool on) {
        if (m_loading)
            return;
        m_preferences.setBool(key, on);
        Q_EMIT preferenceChanged(QString(key));
    });
    return box;
}

// A number box over an integer key, or over a key that keeps the integer as text ("autoSaveAfterMinutes").
QWidget* PreferencesWindow::integerSpin(QLatin1StringView key, const QString& accessibleName, int minimum, int maximum,
                                        const QString& suffix, bool storedAsText)
{
    auto* spin = new QSpinBox;
    spin->setObjectName(QString(key));
    spin->setAccessibleName(accessibleName);
    spin->setRange(minimum, maximum);
    spin->setSuffix(suffix);
    m_loaders.push_back([this, spin, key, storedAsText] {
        spin->setValue(storedAsText ? m_preferences.stringForKey(key).toInt() : m_preferences.integerForKey(key));
    });
    connect(spin, &QSpinBox::valueChanged, this, [this, key, storedAsText](int value) {
        if (m_loading)
            return;
        if (storedAsText)
            m_preferences.setString(key, QString::number(value));
        else
            m_preferences.setInteger(key, value);
        Q_EMIT preferenceChanged(QString(key));
    });
    return spin;
}

QWidget* PreferencesWindow::integerChoice(QLatin1StringView key, const QString& accessibleName,
                                          const std::vector<std::pair<QString, int>>& choices)
{
    auto* combo = new QComboBox;
    combo->setObjectName(QString(key));
    combo->setAccessibleName(accessibleName);
    for (const auto& [label, value] : choices)
        combo->addItem(label, value);
    const int known = combo->count();
    m_loaders.push_back([this, combo, key, known] {
        // A stored value the list does not offer (a key code set by hand) is shown as it is, not lost.
        while (combo->count() > known)
            combo->removeItem(combo->count() - 1);
        const int value = m_preferences.integerForKey(key);
        int index = combo->findData(value);
        if (index < 0) {
            combo->addItem(tr("Key code %1").arg(value), value);
            index = combo->count() - 1;
        }
        combo->setCurrentIndex(index);
    });
    connect(combo, &QComboBox::activated, this, [this, combo, key](int index) {
        m_preferences.setInteger(key, combo->itemData(index).toInt());
        Q_EMIT preferenceChanged(QString(key));
    });
    return combo;
}

QWidget* PreferencesWindow::stringListField(const QString& key, const QString& accessibleName)
{
    auto* edit = new QLineEdit;
    edit->setObjectName(key);
    edit->setAccessibleName(accessibleName);
    m_loaders.push_back([this, edit, key] { edit->setText(m_preferences.stringListForKey(key).join(u", "_s)); });
    connect(edit, &QLineEdit::textEdited, this, [this, key](const QString& text) {
        QStringList tags;
        for (const QString& part : text.split(u',', Qt::SkipEmptyParts))
            if (const QString tag = part.trimmed(); !tag.isEmpty())
                tags << tag;
        if (tags.isEmpty())
            m_preferences.removeKey(key);
        else
            m_preferences.setStringList(key, tags);
        Q_EMIT preferenceChanged(key);
    });
    return edit;
}

QWidget* PreferencesWindow::textField(QLatin1StringView key, const QString& accessibleName, const QString& placeholder)
{
    auto* edit = new QLineEdit;
    edit->setObjectName(QString(key));
    edit->setAccessibleName(accessibleName);
    edit->setPlaceholderText(placeholder);
    m_loaders.push_back([this, edit, key] { edit->setText(m_preferences.stringForKey(key)); });
    connect(edit, &QLineEdit::textEdited, this, [this, key](const QString& text) {
        if (text.trimmed().isEmpty())
            m_preferences.removeKey(QString(key));
        else
            m_preferences.setString(key, text.trimmed());
        Q_EMIT preferenceChanged(QString(key));
    });
    return edit;
}

QWidget* PreferencesWindow::passwordField(const QString& name, const QString& accessibleName,
                                          std::function<std::optional<KeyringEntry>()> entry)
{
    auto* box = new QWidget;
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    auto* edit = new QLineEdit;
    edit->setObjectName(name);
    edit->setAccessibleName(accessibleName);
    edit->setEchoMode(QLineEdit::Password);
    edit->setPlaceholderText(tr("Kept in the desktop keyring"));
    auto* outcome = new QLabel;
    outcome->setObjectName(name + u"Outcome"_s);
    outcome->setAccessibleName(tr("Where the password was kept"));
    // Hidden until it has something to say, so that the field lines up with the ones above and below.
    outcome->hide();
    row->addWidget(edit, 1);
    row->addWidget(outcome);
    const auto tell = [outcome](const QString& text) {
        outcome->setText(text);
        outcome->setToolTip(text);
        outcome->setVisible(!text.isEmpty());
    };
    connect(edit, &QLineEdit::editingFinished, this, [edit, outcome, entry, tell] {
        if (edit->text().isEmpty())
            return;
        const std::optional<KeyringEntry> where = entry();
        if (!where) {
            tell(tr("Give the server and the user first"));
            return;
        }
        const QString password = edit->text();
        edit->clear();
        QPointer<QLabel> label = outcome;
        writeKeyringPassword(*where, password, [label, tell](Status s) {
            if (label)
                tell(s.isOk() ? tr("Kept in the keyring") : tr("Not kept: %1").arg(s.message()));
        });
    });
    return box;
}

QWidget* PreferencesWindow::forgetCalendarServerButton()
{
    auto* button = new QPushButton(tr("Forget This Server"));
    button->setObjectName(u"forgetCalendarServer"_s);
    button->setAccessibleName(tr("Forget the state of the sync with this calendar server"));
    button->setToolTip(tr("The next sync then starts afresh; the tasks stay where they are on both sides"));
    // A button of its own size under the fields, not a bar across the form.
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    // It throws the sync's state away: never pressed by a Return meant for the dialog.
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, button] {
        if (!m_services.forgetCalendarServer)
            return;
        // Forgetting waits for a running sync, with the event loop going: no second press meanwhile.
        button->setEnabled(false);
        const QString message = m_services.forgetCalendarServer();
        button->setEnabled(true);
        QMessageBox box(QMessageBox::Information, QString(SyncText::forgetTitle), message, QMessageBox::Ok, this);
        box.setObjectName(u"forgetCalendarServerAlert"_s);
        box.setAccessibleName(QString(SyncText::forgetTitle));
        box.button(QMessageBox::Ok)->setText(QString(SyncText::button));
        box.exec();
    });
    return button;
}

void PreferencesWindow::loadAll()
{
    m_loading = true;
    for (const auto& load : m_loaders)
        load();
    m_loading = false;
}

void PreferencesWindow::showPreferences()
{
    if (!m_controller.isOpen())
        loadAll();
    m_controller.showPreferences();
}

void PreferencesWindow::customizeQuickTags()
{
    if (!m_controller.isOpen())
        loadAll();
    m_controller.customizeQuickTags();
}

void PreferencesWindow::preferencesDone()
{
    m_controller.preferencesDone();
}

void PreferencesWindow::reject()
{
    if (m_controller.isOpen())
        m_controller.preferencesDone();
    else
        QDialog::reject();
}

void PreferencesWindow::chooseColour()
{
    const QColor initial = toColor(m_colour);
    std::optional<QColor> chosen;
    if (m_services.chooseColour) {
        chosen = m_services.chooseColour(this, initial);
    } else {
        const QColor c = QColorDialog::getColor(initial, this, tr("Background of Lists"));
        if (c.isValid())
            chosen = c;
    }
    if (chosen && chosen->isValid())
        setColorWell({chosen->redF(), chosen->greenF(), chosen->blueF()});
}

void PreferencesWindow::chooseDataFolder()
{
    const QString start = m_preferences.stringForKey(Key::dataFilePath);
    const QString folder = m_services.chooseFolder
        ? m_services.chooseFolder(this, start)
        : QFileDialog::getExistingDirectory(this, tr("Choose the Data Folder"), start);
    m_controller.showOpenDialogForCustomDataFilePath(folder);
}

bool PreferencesWindow::saveAction()
{
    return m_services.saveStore ? m_services.saveStore() : true;
}

QString PreferencesWindow::currentDataFilePath() const
{
    return m_services.currentDataFilePath ? m_services.currentDataFilePath() : QString();
}

bool PreferencesWindow::askQuestion(const QString& title, const QString& text, const QString& defaultButton,
                                    const QString& otherButton)
{
    if (m_services.askQuestion)
        return m_services.askQuestion(title, text, defaultButton, otherButton);
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::NoButton, parentWidget());
    QPushButton* yes = box.addButton(defaultButton, QMessageBox::AcceptRole);
    box.addButton(otherButton, QMessageBox::RejectRole);
    box.setDefaultButton(yes);
    box.exec();
    return box.clickedButton() == yes;
}

void PreferencesWindow::rebuildStatusMenu()
{
    if (m_services.rebuildStatusMenu)
        m_services.rebuildStatusMenu();
}

void PreferencesWindow::rebuildQuickTagsMenu()
{
    if (m_services.rebuildQuickTagsMenu)
        m_services.rebuildQuickTagsMenu();
}

void PreferencesWindow::updateBadge()
{
    if (m_services.updateBadge)
        m_services.updateBadge();
}

RgbColor PreferencesWindow::colorWell() const
{
    return m_colour;
}

void PreferencesWindow::setColorWell(const RgbColor& color)
{
    m_colour = color;
    if (!m_colourButton)
        return;
    QPixmap swatch(m_colourButton->iconSize());
    swatch.fill(toColor(color));
    QPainter frame(&swatch);
    frame.setPen(palette().color(QPalette::Mid));
    frame.drawRect(swatch.rect().adjusted(0, 0, -1, -1));
    frame.end();
    m_colourButton->setIcon(QIcon(swatch));
    m_colourButton->setToolTip(toColor(color).name());
}

void PreferencesWindow::setDataFolderField(const QString& folder)
{
    m_dataFolder->setText(folder);
}

void PreferencesWindow::selectTab(int index)
{
    m_tabs->setCurrentIndex(index);
}

void PreferencesWindow::showSheet()
{
    show();
    raise();
    activateWindow();
}

void PreferencesWindow::hideSheet()
{
    hide();
}

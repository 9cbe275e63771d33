#include "ui/exportdialog.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>

namespace {

struct TypeEntry {
    const char* title;
    int value;
    const char* extension;
};
// Styled HTML first: it is what a stored value the panel does not know stands for.
constexpr TypeEntry kTypes[] = {
    {"Styled HTML", 1, "html"},
    {"Basic HTML", 0, "html"},
    {"CSV", 2, "csv"},
    {"Plain text", 3, "txt"},
};

QString extensionOf(int type)
{
    for (const TypeEntry& t : kTypes) {
        if (t.value == type)
            return QString::fromLatin1(t.extension);
    }
    return QStringLiteral("html");
}

template <class W> W* named(W* widget, const QString& name, const QString& accessible)
{
    widget->setObjectName(name);
    widget->setAccessibleName(accessible);
    return widget;
}

} // namespace

ExportDialog::ExportDialog(Preferences& preferences, const QString& contentName, QWidget* parent)
    : QFileDialog(parent), m_preferences(preferences)
{
    setObjectName(QStringLiteral("exportDialog"));
    setAccessibleName(QStringLiteral("Export"));
    setWindowTitle(QStringLiteral("Export"));
    setOption(QFileDialog::DontUseNativeDialog);
    setAcceptMode(QFileDialog::AcceptSave);
    setFileMode(QFileDialog::AnyFile);
    setLabelText(QFileDialog::FileName, QStringLiteral("Export to:"));
    setWindowModality(Qt::WindowModal);

    auto* settings = named(new QWidget(this), QStringLiteral("exportSettings"), QStringLiteral("Export settings"));
    auto* form = new QFormLayout(settings);
    form->setContentsMargins(0, 0, 0, 0);

    m_content = named(new QLabel(contentName, settings), QStringLiteral("exportContentLabel"), QStringLiteral("Exported content"));
    form->addRow(QStringLiteral("Exporting:"), m_content);

    m_type = named(new QComboBox(settings), QStringLiteral("exportTypeChooser"), QStringLiteral("File type"));
    for (const TypeEntry& t : kTypes)
        m_type->addItem(QString::fromUtf8(t.title), t.value);
    const int storedType = m_preferences.integerForKey(PreferenceKey::lastExportType);
    m_type->setCurrentIndex(std::max(0, m_type->findData(storedType)));
    auto* typeLabel = new QLabel(QStringLiteral("File &type:"), settings);
    typeLabel->setBuddy(m_type);
    form->addRow(typeLabel, m_type);

    m_mode = named(new QComboBox(settings), QStringLiteral("exportModeChooser"), QStringLiteral("Folders to export"));
    m_mode->addItem(QStringLiteral("Selected folders"), 0);
    m_mode->addItem(QStringLiteral("All folders"), 1);
    m_mode->setCurrentIndex(m_preferences.integerForKey(PreferenceKey::lastExportMode) == 0 ? 0 : 1);
    auto* modeLabel = new QLabel(QStringLiteral("E&xport:"), settings);
    modeLabel->setBuddy(m_mode);
    form->addRow(modeLabel, m_mode);

    m_openAfter = named(new QCheckBox(QStringLiteral("&Open after export"), settings), QStringLiteral("openAfterExportBox"),
                        QStringLiteral("Open after export"));
    m_openAfter->setChecked(m_preferences.boolForKey(PreferenceKey::lastExportOpenAfterExportSetting));
    form->addRow(m_openAfter);
    m_singlePages = named(new QCheckBox(QStringLiteral("Print &single pages"), settings), QStringLiteral("printSinglePagesBox"),
                          QStringLiteral("Print single pages"));
    m_singlePages->setChecked(m_preferences.boolForKey(PreferenceKey::lastExportPrintSinglePages));
    form->addRow(m_singlePages);

    // Qt's own panel lays itself out in a grid; the settings take a row of their own below it. Its
    // filter row would be a second type chooser that follows the first, so it is hidden.
    if (auto* grid = qobject_cast<QGridLayout*>(layout()))
        grid->addWidget(settings, grid->rowCount(), 0, 1, grid->columnCount());
    for (const QString& name : {QStringLiteral("fileTypeCombo"), QStringLiteral("fileTypeLabel")}) {
        if (QWidget* filterRow = findChild<QWidget*>(name))
            filterRow->hide();
    }

    const QString last = m_preferences.stringForKey(PreferenceKey::lastExportFilePath);
    if (!last.isEmpty()) {
        setDirectory(QFileInfo(last).absolutePath());
        selectFile(QFileInfo(last).fileName());
    } else {
        setDirectory(QDir::homePath());
    }
    setAllowedFileType();

    connect(m_type, &QComboBox::currentIndexChanged, this, [this] {
        m_preferences.setInteger(PreferenceKey::lastExportType, exportType());
        setAllowedFileType();
    });
    connect(m_mode, &QComboBox::currentIndexChanged, this,
            [this] { m_preferences.setInteger(PreferenceKey::lastExportMode, exportMode()); });
    connect(m_openAfter, &QCheckBox::toggled, this,
            [this](bool on) { m_preferences.setBool(PreferenceKey::lastExportOpenAfterExportSetting, on); });
    connect(m_singlePages, &QCheckBox::toggled, this,
            [this](bool on) { m_preferences.setBool(PreferenceKey::lastExportPrintSinglePages, on); });
}

int ExportDialog::exportType() const { return m_type->currentData().toInt(); }
int ExportDialog::exportMode() const { return m_mode->currentData().toInt(); }
bool ExportDialog::openAfterExport() const { return m_openAfter->isChecked(); }
bool ExportDialog::printSinglePages() const { return m_singlePages->isChecked(); }

void ExportDialog::setAllowedFileType()
{
    const QString extension = extensionOf(exportType());
    setDefaultSuffix(extension);
    setNameFilter(QStringLiteral("%1 (*.%2)").arg(m_type->currentText(), extension));
    const QString typed = selectedFiles().value(0);
    if (typed.isEmpty() || QFileInfo(typed).isDir())
        return;
    const QFileInfo file(typed);
    selectFile(file.completeBaseName() + QLatin1Char('.') + extension);
}

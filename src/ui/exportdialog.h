#pragma once

#include <QFileDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class Preferences;

// The save panel of an export, with its settings below the file view: the type (which sets the file's
// extension), the mode (selected folders or all of them), "open after export" and "print single
// pages". Every setting is written to its preference as soon as it changes and read back when the next
// panel opens. Always Qt's own panel, so that it can be a sheet on the main window.
class ExportDialog : public QFileDialog {
    Q_OBJECT
public:
    // `contentName`: what will be exported ("contexts", "projects", "smart folders").
    ExportDialog(Preferences& preferences, const QString& contentName, QWidget* parent);

    // The stored type values (0 basic HTML, 1 styled HTML, 2 CSV, 3 plain text).
    int exportType() const;
    int exportMode() const;
    bool openAfterExport() const;
    bool printSinglePages() const;

    QComboBox* typeChooser() const { return m_type; }
    QComboBox* modeChooser() const { return m_mode; }
    QCheckBox* openAfterExportBox() const { return m_openAfter; }
    QCheckBox* printSinglePagesBox() const { return m_singlePages; }

private:
    // The panel takes only files of the current type's extension; a name already typed keeps its base.
    void setAllowedFileType();

    Preferences& m_preferences;
    QComboBox* m_type = nullptr;
    QComboBox* m_mode = nullptr;
    QCheckBox* m_openAfter = nullptr;
    QCheckBox* m_singlePages = nullptr;
    QLabel* m_content = nullptr;
};

#include "ui/mainwindow.h"

#include <QCloseEvent>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Vyro"));
    setAccessibleName(QStringLiteral("Vyro"));
    setUnifiedTitleAndToolBarOnMac(true);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (m_close && !m_close()) {
        event->ignore();
        return;
    }
    event->accept();
}

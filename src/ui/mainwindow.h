#pragma once

#include <QMainWindow>

#include <functional>

// The main window itself: the frame the controller fills. Closing it asks the owner first (the quit
// sequence may refuse), and it tells the owner when its focus state changes.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);

    // Asked when the user closes the window; false keeps it open.
    void setCloseHandler(std::function<bool()> handler) { m_close = std::move(handler); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::function<bool()> m_close;
};

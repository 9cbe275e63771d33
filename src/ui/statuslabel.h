#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;

// The status line of the window: a busy indicator beside a text ("1,204 tasks", "Saving…").
class StatusLabelController : public QWidget {
    Q_OBJECT
public:
    explicit StatusLabelController(QWidget* parent = nullptr);

    void startAnimation();
    void stopAnimation();
    bool isAnimating() const;
    void updateStatusTo(const QString& text);
    QString text() const;

private:
    QProgressBar* m_indicator;
    QLabel* m_label;
};

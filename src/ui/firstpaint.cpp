#include "ui/firstpaint.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

namespace {

class FirstPaintWatcher : public QObject {
public:
    FirstPaintWatcher(QObject* context, std::function<void()> then) : QObject(context), m_then(std::move(then))
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && m_then) {
            QCoreApplication::instance()->removeEventFilter(this);
            QTimer::singleShot(0, parent(), std::move(m_then));
            m_then = nullptr;
            deleteLater();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> m_then;
};

} // namespace

void afterFirstPaint(QObject* context, std::function<void()> then)
{
    new FirstPaintWatcher(context, std::move(then));
}

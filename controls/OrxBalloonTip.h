#pragma once

#include <QBasicTimer>
#include <QPainterPath>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QWidget>

// A small frameless tip window with an icon, a bold title and a message,
// pointing at a spot on the screen. One tip is shown at a time; it goes away
// after a few seconds or when clicked.
class OrxBalloonTip : public QWidget
{
    Q_OBJECT
public:
    // How long a tip stays when nobody clicks it.
    static constexpr int kHideAfterMs = 5000;

    // Replaces any tip on screen. With showArrow the tip has a pointer whose
    // end is globalPos; without it, a corner of the tip is there.
    static void showBalloon(QSystemTrayIcon::MessageIcon icon, const QString& title,
                            const QString& message, const QPoint& globalPos, bool showArrow);
    static void hideBalloon();
    static bool isBalloonVisible();
    // The tip on screen, or null.
    static OrxBalloonTip* current();

    QSystemTrayIcon::MessageIcon icon() const { return m_icon; }
    QString title() const { return m_title; }
    QString message() const { return m_message; }
    QPoint anchor() const { return m_anchor; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    OrxBalloonTip(QSystemTrayIcon::MessageIcon icon, const QString& title, const QString& message);
    void placeAt(const QPoint& anchor, bool showArrow);
    void setArrowSide(bool atTop);
    QPainterPath outline() const;
    void updateMask();

    static QPointer<OrxBalloonTip> s_current;

    QSystemTrayIcon::MessageIcon m_icon;
    QString m_title;
    QString m_message;
    QPoint m_anchor;
    bool m_showArrow = false;
    bool m_arrowAtTop = true;
    int m_arrowX = 0;
    QBasicTimer m_hideTimer;
};

#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace quillo {

/// A small turning ring: something is under way. Turns only while it is visible.
class Spinner final : public QWidget {
    Q_OBJECT
public:
    explicit Spinner(int diameter, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return {diameter, diameter}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    int diameter;
    int step = 0;
    QBasicTimer timer;
};

} // namespace quillo

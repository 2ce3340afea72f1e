#pragma once

#include <QLabel>

// The lock image: a picture scaled to fill its frame that can swing about its centre.
class LockImageView : public QLabel
{
    Q_OBJECT
    Q_PROPERTY(double rotation READ rotation WRITE setRotation)
public:
    explicit LockImageView(QWidget* parent = nullptr);

    double rotation() const { return m_rotation; }
    // Radians, positive counter-clockwise, as the lock screen's layout measures angles.
    void setRotation(double radians);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double m_rotation = 0;
};

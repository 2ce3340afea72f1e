#pragma once

#include "lockscreen/TextColour.h"

#include <QPixmap>
#include <QWidget>

// The picture behind a lock screen, drawn at the size chosen for it and centred, so that a
// picture larger than the view is cut off equally on both sides and a smaller one shows the
// window's linen around it. Its shadow falls on the linen, where there is any.
class BackgroundView : public QWidget
{
    Q_OBJECT
public:
    explicit BackgroundView(QWidget* parent = nullptr);

    // The picture, already scaled to the size it is shown at.
    void setPicture(const QPixmap& picture);
    void clearPicture();
    const QPixmap& picture() const { return m_picture; }
    bool hasPicture() const { return !m_picture.isNull(); }
    // Where the picture lies in the view.
    QRect pictureRect() const;

    void setShadow(const ShadowStyle& shadow);
    const std::optional<ShadowStyle>& shadow() const { return m_shadow; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_picture;
    std::optional<ShadowStyle> m_shadow;
};

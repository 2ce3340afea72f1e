#pragma once

#include "lockscreen/TextColour.h"
#include "lockscreen/TiledPicture.h"

#include <QFutureWatcher>
#include <QWidget>

// The picture behind a lock screen, drawn at the size chosen for it and centred, so that a
// picture larger than the view is cut off equally on both sides and a smaller one shows the
// window's linen around it. Its shadow falls on the linen, where there is any.
class BackgroundView : public QWidget
{
    Q_OBJECT
public:
    explicit BackgroundView(QWidget* parent = nullptr);

    // The picture, already scaled to the size it is shown at. It is kept in tiles: a paint
    // decodes only what it shows. `whole`, the same picture decoded, paints until the view has
    // been painted whole once and the tiles are made, and is let go then.
    void setPicture(const TiledPicture& picture, const QImage& whole = QImage());
    void clearPicture();
    const TiledPicture& picture() const { return m_picture; }
    bool hasPicture() const { return !m_picture.isNull(); }
    // Where the picture lies in the view.
    QRect pictureRect() const;

    void setShadow(const ShadowStyle& shadow);
    const std::optional<ShadowStyle>& shadow() const { return m_shadow; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void letGoOfWhole();

    TiledPicture m_picture;
    QImage m_whole;
    bool m_paintedWhole = false;
    QFutureWatcher<void> m_compression;
    std::optional<ShadowStyle> m_shadow;
};

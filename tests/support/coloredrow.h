#pragma once

#include <QtGui/QImage>
#include <QtWidgets/QListView>

/// Whether a picture of colours stands before the text of a row that is in sight.
inline bool isColoredBeforeText(QListView *list, int row)
{
    QRect place = list->visualRect(list->model()->index(row, 0));
    place.setWidth(32);
    const QImage shown = list->viewport()->grab(place).toImage();
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            if (shown.pixelColor(x, y).saturation() > 60)
                return true;
        }
    }
    return false;
}

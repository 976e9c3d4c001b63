#include <kilnx/editors/thumbnailsmodel.h>

#include <kilnx/image/sprite.h>
#include <kilnx/image/spritemime.h>

#include <QtCore/QCache>
#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtCore/QThreadPool>
#include <QtCore/QTimer>
#include <QtCore/QVector>

#include <algorithm>
#include <climits>
#include <mutex>

namespace Kiln
{

namespace
{

/// More are asked for than a window shows only while it scrolls: the oldest are passed over then.
constexpr int mostWanted = 4096;
/// Pictures that are being made, or wait for a thread, at one time.
constexpr int mostStarted = 24;
/// Pictures this many times larger are first thinned out, which costs no conversion of the whole.
constexpr int thinning = 4;

QSize within(QSize size, int side)
{
    return size.scaled(side, side, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

/// For any thread: the picture no larger than `side` in both directions.
QImage smallPicture(QImage picture, int side)
{
    const auto fits = [&picture](int most) {
        return picture.width() <= most && picture.height() <= most;
    };
    if (!fits(thinning * side))
        picture = picture.scaled(within(picture.size(), thinning * side));
    picture = picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    return fits(side) ? picture
                      : picture.scaled(within(picture.size(), side), Qt::IgnoreAspectRatio,
                                       Qt::SmoothTransformation);
}

} // namespace

/// What is kept, wanted and being made. Sprites are told by their address, which is forgotten
/// before they go.
class ThumbnailsModelPrivate : public QObject
{
public:
    explicit ThumbnailsModelPrivate(ThumbnailsModel &model);
    ~ThumbnailsModelPrivate() override;

    void follow();
    QImage picture(const Sprite *sprite);
    void palettesChanged();
    void rowsChanged(int first, int last);
    void rowsRemoved(int first, int last);
    void clear();
    void stopOldJobs();

    struct Thumbnail {
        QImage picture;
        int side;       ///< it was made for
        bool isScaled;  ///< the sprite's picture is larger
        bool isIndexed; ///< it has colours of a palette
        bool isOld;     ///< the sprite or its palette has changed since
    };

    ThumbnailsModel &model;
    QPointer<Sprites> sprites;
    QCache<const Sprite *, Thumbnail> kept;
    int side = 64;

private:
    struct Result {
        const Sprite *sprite; ///< only compared until it is known to be there
        quint64 job;
        Thumbnail made;
    };

    void want(const Sprite *sprite);
    void startJobs();
    void deliver(const Result &result);
    void take();

    QVector<const Sprite *> wanted;        ///< the last one comes first
    QHash<const Sprite *, quint64> making; ///< with the number of the job
    quint64 lastJob = 0;
    QTimer starter;
    std::mutex mutex;        ///< of the results
    QVector<Result> results; ///< that the GUI thread has not taken yet
    QThreadPool pool; ///< an own one: reading files and pictures must not wait for each other
};

ThumbnailsModelPrivate::ThumbnailsModelPrivate(ThumbnailsModel &owner)
    : model(owner)
    , kept(ThumbnailsModel::keptBytes)
{
    starter.setSingleShot(true);
    starter.setInterval(0);
    connect(&starter, &QTimer::timeout, this, &ThumbnailsModelPrivate::startJobs);
}

ThumbnailsModelPrivate::~ThumbnailsModelPrivate()
{
    pool.clear();
    pool.waitForDone();
}

QImage ThumbnailsModelPrivate::picture(const Sprite *sprite)
{
    const Thumbnail *thumbnail = kept.object(sprite);
    const bool isRight =
        thumbnail && !thumbnail->isOld &&
        (thumbnail->side == side || (!thumbnail->isScaled && thumbnail->picture.width() <= side &&
                                     thumbnail->picture.height() <= side));
    const QImage shown = thumbnail ? thumbnail->picture : QImage();
    if (!isRight)
        want(sprite);
    return shown;
}

void ThumbnailsModelPrivate::want(const Sprite *sprite)
{
    if (making.contains(sprite))
        return;
    wanted.removeOne(sprite);
    wanted.append(sprite);
    if (wanted.size() > mostWanted)
        wanted.removeFirst();
    starter.start();
}

/// Only some, so that what is asked for next need not wait long.
void ThumbnailsModelPrivate::startJobs()
{
    while (!wanted.isEmpty() && making.size() < mostStarted) {
        const Sprite *sprite = wanted.takeLast();
        const auto job = sprite->pictureJob();
        const quint64 number = ++lastJob;
        const Thumbnail plan{QImage(), side, false, sprite->palette() != nullptr, false};
        making.insert(sprite, number);
        pool.start([this, sprite, job, number, plan] {
            Thumbnail made = plan;
            const QImage whole = job ? job() : QImage();
            if (!whole.isNull())
                made.picture = smallPicture(whole, made.side);
            made.isScaled = made.picture.size() != whole.size();
            deliver({sprite, number, made});
        });
    }
}

/// On any thread. What comes until the GUI thread has time is taken, and painted, at once.
void ThumbnailsModelPrivate::deliver(const Result &result)
{
    const std::lock_guard lock(mutex);
    results.append(result);
    if (results.size() == 1)
        QMetaObject::invokeMethod(this, &ThumbnailsModelPrivate::take, Qt::QueuedConnection);
}

/// A sprite that has changed or gone since has no such job any more.
void ThumbnailsModelPrivate::take()
{
    QVector<Result> all;
    {
        const std::lock_guard lock(mutex);
        all.swap(results);
    }
    int first = INT_MAX;
    int last = -1;
    for (const Result &result : qAsConst(all)) {
        const auto known = making.find(result.sprite);
        if (known == making.end() || *known != result.job)
            continue;
        making.erase(known);
        const auto cost = int(result.made.picture.sizeInBytes()) + int(sizeof(Thumbnail));
        kept.insert(result.sprite, new Thumbnail(result.made), cost);
        first = qMin(first, result.sprite->index());
        last = qMax(last, result.sprite->index());
    }
    startJobs();
    if (last >= 0)
        Q_EMIT model.dataChanged(model.index(first, 0), model.index(last, 0), {Qt::DecorationRole});
}

/// Jobs that are under way tell of what is no more; who still wants a picture asks again.
void ThumbnailsModelPrivate::stopOldJobs()
{
    pool.clear();
    making.clear();
}

void ThumbnailsModelPrivate::palettesChanged()
{
    stopOldJobs();
    const QList<const Sprite *> all = kept.keys();
    for (const Sprite *sprite : all) {
        Thumbnail *thumbnail = kept.object(sprite);
        thumbnail->isOld = thumbnail->isOld || thumbnail->isIndexed;
    }
    const int rows = model.rowCount();
    if (rows > 0)
        Q_EMIT model.dataChanged(model.index(0, 0), model.index(rows - 1, 0), {Qt::DecorationRole});
}

void ThumbnailsModelPrivate::rowsChanged(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        const Sprite *sprite = sprites->at(unsigned(row));
        making.remove(sprite);
        if (Thumbnail *thumbnail = kept.object(sprite))
            thumbnail->isOld = true;
    }
}

void ThumbnailsModelPrivate::rowsRemoved(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        const Sprite *sprite = sprites->at(unsigned(row));
        making.remove(sprite);
        kept.remove(sprite);
        wanted.removeOne(sprite);
    }
}

void ThumbnailsModelPrivate::clear()
{
    wanted.clear();
    stopOldJobs();
    kept.clear();
}

/// Before the base does, so that views ask for the new pictures.
void ThumbnailsModelPrivate::follow()
{
    connect(sprites, &QAbstractItemModel::modelAboutToBeReset, this,
            &ThumbnailsModelPrivate::clear);
    connect(sprites, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex &, int first, int last) { rowsRemoved(first, last); });
    connect(sprites, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex &first, const QModelIndex &last) {
                rowsChanged(first.row(), last.row());
            });
    connect(sprites->palettes(), &Palettes::modified, this,
            &ThumbnailsModelPrivate::palettesChanged);
}

ThumbnailsModel::ThumbnailsModel(QObject *parent)
    : QIdentityProxyModel(parent)
    , d(std::make_unique<ThumbnailsModelPrivate>(*this))
{
}

ThumbnailsModel::~ThumbnailsModel() = default;

void ThumbnailsModel::setSprites(Sprites *sprites)
{
    if (d->sprites == sprites && sourceModel() == sprites)
        return;
    if (d->sprites) {
        d->sprites->disconnect(d.get());
        d->sprites->palettes()->disconnect(d.get());
    }
    d->clear();
    d->sprites = sprites;
    if (sprites)
        d->follow();
    setSourceModel(sprites);
    // The base lets go of a file that is destroyed, without a word to the views.
    if (sprites)
        connect(sprites, &QObject::destroyed, d.get(), [this] {
            beginResetModel();
            d->clear();
            endResetModel();
        });
}

Sprites *ThumbnailsModel::sprites() const
{
    return d->sprites;
}

int ThumbnailsModel::side() const
{
    return d->side;
}

void ThumbnailsModel::setSide(int dots)
{
    dots = qBound(1, dots, largestSide);
    if (d->side == dots)
        return;
    d->side = dots;
    d->stopOldJobs();
}

QImage ThumbnailsModel::picture(const QModelIndex &index) const
{
    const Sprite *sprite = d->sprites && checkIndex(index, CheckIndexOption::IndexIsValid)
                               ? d->sprites->at(unsigned(index.row()))
                               : nullptr;
    return sprite ? d->picture(sprite) : QImage();
}

int ThumbnailsModel::storedBytes() const
{
    return d->kept.totalCost();
}

QVariant ThumbnailsModel::data(const QModelIndex &index, int role) const
{
    if (role == Qt::DecorationRole)
        return picture(index);
    const QVariant value = QIdentityProxyModel::data(index, role);
    if (role != Qt::ToolTipRole || !index.isValid())
        return value;
    // The name stands below the picture only as far as there is room.
    const QString lines[] = {index.data().toString(), value.toString()};
    return lines[0] + (lines[1].isEmpty() ? QString() : QLatin1Char('\n') + lines[1]);
}

Qt::DropActions ThumbnailsModel::supportedDragActions() const
{
    return Qt::CopyAction;
}

Qt::DropActions ThumbnailsModel::supportedDropActions() const
{
    return Qt::IgnoreAction;
}

QStringList ThumbnailsModel::mimeTypes() const
{
    return {SpriteMime::mimeType()};
}

QMimeData *ThumbnailsModel::mimeData(const QModelIndexList &indexes) const
{
    QVector<int> rows;
    for (const QModelIndex &index : indexes)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    QStringList identifiers;
    for (const int row : qAsConst(rows)) {
        if (Sprite *sprite = d->sprites ? d->sprites->at(unsigned(row)) : nullptr)
            identifiers.append(sprite->property(QStringLiteral("Identifier")).toString());
    }
    return identifiers.isEmpty() ? nullptr : SpriteMime::make(identifiers);
}

} // namespace Kiln

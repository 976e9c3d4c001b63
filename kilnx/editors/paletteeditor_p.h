#pragma once

#include <kilnx/editors/fieldguard.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/image/sprite.h>
#include <kilnx/imageedit/palettewidget.h>

#include <QtCore/QPersistentModelIndex>
#include <QtCore/QPointer>

class QAction;
class RemapDlg;

namespace Kiln
{

class Interface;

/// The state of a PaletteEditor, the slots of its actions and the signals that rule them. What
/// reads and writes palette files is in paletteeditor_files.cpp.
class PaletteEditorPrivate : public QObject
{
    Q_OBJECT

public:
    PaletteEditorPrivate(PaletteEditor *panel, Interface *host, const bool &active);
    ~PaletteEditorPrivate() override;

    /// Whether, behind a box or other events, the panel still shows the same file.
    class Still
    {
    public:
        explicit Still(PaletteEditorPrivate *d)
            : m_d(d)
            , m_stamp(d->stamp)
        {
        }
        bool isSo() const { return m_d && m_d->palettes && m_d->stamp == m_stamp; }

    private:
        QPointer<PaletteEditorPrivate> m_d;
        int m_stamp;
    };

    void declare();
    void setFile(Palettes *file);
    void setCurrent(unsigned int index);
    unsigned int count() const { return palettes ? palettes->count() : 0; }
    Palette *current() const;
    /// Shows what the file holds now.
    void refresh();
    void followSprites();
    QWidget *window() const;

    PaletteEditor *const editor;
    Interface *const interface;
    FieldGuard fields;
    QPointer<PaletteWidget> widget;
    QPointer<Palettes> palettes;
    QPointer<RemapDlg> remapDialog;    ///< made on first use
    QPointer<QAction> organizerAction; ///< "org_palette"
    QPersistentModelIndex row;         ///< of the palette in the grid; invalid when it has gone
    QPersistentModelIndex cameFrom;    ///< shown before the palette that was added last
    unsigned int shownCount = 0;       ///< as refresh() saw it last
    bool isFollowing = false;          ///< comes and goes with the editor of sprites
    bool isEmpty = true;               ///< the grid has no palette
    int stamp = 0;                     ///< counts the files that were shown

private:
    bool ready();
    bool confirm(const QString &title, const QString &question) const;
    void follow(QAbstractItemModel *model);
    void tellPosition();
    void showColors();
    void commit();
    void organizerClicked(int clicked);
    void spritesShown(bool visible);

    QString openFilter() const;
    QString startPath() const;
    void addEmpty();
    void addFiles();
    QList<int> chosenRows(const QString &title, QAbstractItemModel *model, int first);

public Q_SLOTS:
    void clear();
    void clearUnused();
    void add();
    void del();
    void delDupl();
    void open();
    void save();
    void remap();
    void undo();
    void redo();
    void switchColor();
    void setColor();
    void setSprPal();
    void prevPal();
    void nextPal();
    void palOrg();
    void selPosChanged(int index);

Q_SIGNALS:
    /// There is a file.
    void noFile(bool there);
    /// There is a current palette.
    void enabled(bool there);
    void setSelPos(int index);
    void setPosText(const QString &text);
};

} // namespace Kiln

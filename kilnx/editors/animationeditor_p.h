#pragma once

#include <kilnx/code/animations.h>
#include <kilnx/editors/animationeditor.h>
#include <kilnx/editors/fieldguard.h>
#include <kilnx/image/sprite.h>
#include <kilnx/project/controls.h>
#include <kilnx/render/timelinewidget.h>

#include <QtCore/QPersistentModelIndex>
#include <QtCore/QPointer>
#include <QtCore/QVector>

#include <functional>
#include <map>
#include <memory>

class AnimAlign;
class AnimCodeDlg;
class ExAxisDlg;
class QAction;
class QDropEvent;
class QMenu;
class QSplitter;

namespace Kiln
{

enum class ConflictPolicy;
struct AnimImageFrame;
class Interface;
class OrganizerEditor;

/// The state of an AnimationEditor, the slots of its actions and fields, and the signals that rule
/// them. To the viewport it is the frame as a list of one sprite, to the strip the row of the
/// animation.
///
/// The selection and what follows it are in animationeditor.cpp, what is declared to the host in
/// animationeditor_fields.cpp, what is dragged and drawn in animationeditor_view.cpp, playback in
/// animationeditor_play.cpp, commands in animationeditor_commands.cpp and files in
/// animationeditor_files.cpp.
class AnimationEditorPrivate : public SpriteProvider, public TimeLine
{
    Q_OBJECT

public:
    AnimationEditorPrivate(AnimationEditor *editor,
                           Interface *interface,
                           CodeWorkspace *code,
                           GraphicsWorkspace *graphics,
                           GraphicsRenderer *renderer,
                           GraphicsRenderer::ItemType frameItem);
    ~AnimationEditorPrivate() override;

    /// What stays with a file while another one is shown.
    struct FileData : EditorData {
        QPersistentModelIndex onionRow; ///< invalid: the frame before the current one
        int onionFrame = 0;
    };

    /// Whether, behind a box or other events, the same place of the same file is shown. Playback,
    /// which would leave the place, ends.
    class Still
    {
    public:
        explicit Still(AnimationEditorPrivate *d)
            : m_d((d->stop(), d))
            , m_list(d->list)
            , m_stamp(d->stamp)
        {
        }
        bool isSo() const { return isSameFile() && m_d->stamp == m_stamp; }
        /// The same file, at whatever place.
        bool isSameFile() const { return m_d && m_d->list && m_d->list == m_list; }

    private:
        QPointer<AnimationEditorPrivate> m_d;
        QPointer<Animations> m_list;
        int m_stamp;
    };

    /// A place of the text. Both null above and without animations.
    struct Place {
        AnimationCode *animation = nullptr;
        FrameCode *frame = nullptr;
    };
    static Place placeAt(const CodeDocument &document, int line);

    // SpriteProvider
    unsigned int count() override;
    Sprite *spriteAt(unsigned int index) override;
    QVariant property(unsigned int index, unsigned int id) override;
    // TimeLine
    QString name() override;
    bool at(unsigned int tick, TimeLineCell &cell) override;

    QWidget *window() const;
    CodeDocument *document() const { return list ? list->document() : nullptr; }
    AnimationCode *animation() const;
    FrameCode *frame() const;
    bool isPlaying() const;
    bool isInView() const;
    FileData &fileData();

    // animationeditor.cpp
    void setFile(Animations *file);
    void select(int row, int frameRow, bool moveCursor);
    void keepSelection();
    void keepPlace();
    void resolve();
    void reloaded();
    void showAll();
    void showAnimation();
    void showFrame();
    void followCursor();
    void moveCursor();
    void toLineStart();
    void contentsModified();
    void watchSprites();
    QList<Sprites *> spriteFiles() const;
    Sprite *spriteOf(const FrameCode *frame) const;
    /// One step of undo, during which fields are not read and the views wait.
    void write(const std::function<void()> &edit, bool goesOn = false);
    /// The same by `count` calls of `edit`, with progress: events come through between some of
    /// them, and then everything is in step. False when the user has cancelled, which leaves the
    /// text as it was, and when the file or its text became another one meanwhile.
    bool writeEach(int count, const QString &told, const std::function<void(int)> &edit);
    int writeSlice(int first, int count, const std::function<void(int)> &edit);
    void beginWrite(bool goesOn = false);
    void endWrite();
    QVariant fileOption(const char *key) const;
    void keepOption(const char *key, const QVariant &value);

    // animationeditor_fields.cpp
    void declare();
    void declareFields();
    void setTexts();
    /// Of an action or a field.
    static QString text(int id);
    void tellEnabled();
    void tellPosition();
    void tellFrame();
    void tellOnion();
    void tellCursor();
    void tellPlace();
    void tellRenderer();
    void clearStatus();
    void showPanels(bool shown);
    void tellOrganizer();
    OrganizerEditor *organizer() const;
    void setRange(const char *key, int count);

    // animationeditor_view.cpp
    void connectView();
    void showViews();
    void placeOrigin();
    bool eventFilter(QObject *watched, QEvent *event) override;
    void takeSprites(QDropEvent *event);
    void insertFrames(int at, const QStringList &sprites);
    void showSprite();
    void showBoxes();
    void showOnion();
    FrameCode *onionFrame() const;
    void dragged(GraphicsRenderer::ItemType type, QPoint position);
    void released(GraphicsRenderer::ItemType type, QPoint position);
    void drawBoxes(ContactBoxCode::BoxType type, bool on);
    void showExtraAxis(bool shown);

    // animationeditor_play.cpp
    void readTicks();
    int frameAtTick(qint64 tick) const;
    void showTick();
    void showPlayed(int frameRow);
    void play();
    void stop();
    bool endsBehindLastFrame() const;
    qint64 tickWithinLoop(qint64 tick) const;

    // animationeditor_commands.cpp
    void stepTo(int row, int frameRow);
    bool mayReplaceCode() const;
    bool confirmed(const QString &title, const QString &text) const;
    void moveAxis(QPoint step);
    /// Frames by the rows of their animations and their own.
    using Frames = QVector<QPair<int, int>>;
    Frames framesOf(int of, int first) const;
    Frames allFrames() const;
    FrameCode *frameIn(const QPair<int, int> &place) const;
    void writeFrames(const Frames &frames,
                     const QString &told,
                     const std::function<void(FrameCode *)> &edit);
    void toFollowing(int textId,
                     const std::function<void(FrameCode *first, FrameCode *next)> &apply);
    void changeFrame(double wanted,
                     double (*said)(const FrameCode *),
                     const std::function<void(FrameCode *)> &change);

    // animationeditor_files.cpp
    struct Incoming {
        QString code; ///< of the source
        QString name; ///< its identifier here
    };
    QString startPath(const char *key) const;
    bool picturesFit() const;
    AnimImageFrame pictureOf(FrameCode *shown) const;
    QVector<AnimImageFrame> pictures(const std::function<bool()> &step) const;
    bool isAnySeen() const;
    bool encode(QByteArray *bytes);
    QString fileFilter(QString *suffix) const;
    QList<int> pickRows(const QString &title, Animations *from, int current);
    bool collect(const QList<int> &rows, QStringList *codes);
    bool writeFile(const QString &path, const QString &text);
    void takeIn(const QVector<Incoming> &offered, ConflictPolicy policy, const QString &title);
    void put(AnimationCode *target, const Incoming &item);

    AnimationEditor *const editor;
    Interface *const interface;
    CodeWorkspace *const code;
    GraphicsWorkspace *const graphics;
    GraphicsRenderer *const renderer;
    const GraphicsRenderer::ItemType frameItem;
    FieldGuard fields;
    QPointer<Animations> list;
    QPointer<QSplitter> view; ///< with the widgets of the workspaces while the editor is active
    QPointer<AnimCodeDlg> codeDialog;
    QPointer<ExAxisDlg> axisDialog;
    QAction *editorAction = nullptr;
    QMenu *frameMenu = nullptr;
    QMenu *boxMenu = nullptr;
    QPointer<QAction> codeAction;
    QPointer<Project> stage; ///< whose stage is shown; only ever compared
    std::map<const Animations *, std::unique_ptr<EditorData>> files; ///< voided with the list

    // The selection: the row is followed by the model; the rest finds it again when that is gone.
    QPersistentModelIndex row;
    int lastRow = 0;
    int frameRow = 0;
    QString identifier;
    const AnimationCode *shownAnimation = nullptr; ///< only ever compared
    const FrameCode *shownFrame = nullptr;         ///< only ever compared
    Sprite *shownSprite = nullptr;                 ///< voided by its file's modified() or end
    int stamp = 0;                                 ///< another place is shown
    int knownRevision = -1;                        ///< of the text that resolve() has seen
    int knownCount = -1;                           ///< of animations

    // The ticks at which the frames that last begin, by rising ticks, as showAll() has
    // read them last.
    QVector<qint64> starts;
    QVector<int> startRows;
    qint64 length = 0;    ///< ticks up to the end of the last frame
    bool endless = false; ///< the last of the frames that are reached is shown for ever

    int writing = 0;              ///< open beginWrite()s
    QPointer<Animations> written; ///< the list that they began on
    bool stale = false;           ///< the text has changed within them
    bool moving = false;          ///< an animation is between two rows
    bool syncing = false;         ///< the program moves the cursor of the text
    bool settingTick = false;
    bool working = false; ///< something runs events
    bool onionOn = true;
    QPoint mouse;
    QPoint placed; ///< where placeOrigin() put the origin last

Q_SIGNALS:
    void noFile(bool on);
    void enabled(bool on);
    void frameEnabled(bool on);
    /// A frame that the viewport lets edit: not during playback.
    void frameEnabledNC(bool on);
    /// A frame that knows scale and angle.
    void frameEnabledExtra(bool on);
    void setSelPos(int row);
    void setPosText(const QString &text);
    void setFrameSelPos(int row);
    void setFramePosText(const QString &text);
    void setFrameX(int x);
    void setFrameY(int y);
    void setFrameFlip(int flip);
    void setFrameScaleX(double factor);
    void setFrameScaleY(double factor);
    void setFrameAngle(double degrees);
    void setFrameTime(int ticks);
    void setOnionSkin(bool on);
    void setOnionSelPos(int row);
    void setOnionFrameSelPos(int row);
    void setOnionText(const QString &text);
    void setPlaceText(const QString &text);
    // What the checkable actions show.
    void playing(bool on);
    void stopped(bool on);
    void attackBoxesDrawn(bool on);
    void collisionBoxesDrawn(bool on);

public Q_SLOTS:
    void editCode(bool on);
    void editAnimCode();
    void add();
    void del();
    void duplicate();
    void saveGIF();
    void playChanged(bool on);
    void stopChanged(bool on);
    void frameAdd();
    void frameDel();
    void frameAllOffset();
    void frameAllTime();
    void frameAllFlip();
    void frameAllScale();
    void frameAlign();
    void boxAddAChanged(bool on);
    void boxAddCChanged(bool on);
    void boxDel();
    void boxDelAll();
    void boxDelAllAnim();
    void boxSwType();
    void boxPrev();
    void boxAllInst();
    void optimize();
    void exportTo();
    void importFrom();
    void projImport();
    void axisLeft();
    void axisUp();
    void axisRight();
    void axisDown();
    void prevAnim();
    void nextAnim();
    void prevFrame();
    void nextFrame();
    void selPosChanged(int row);
    void frameSelPosChanged(int row);
    void frameXChanged(int x);
    void frameYChanged(int y);
    void frameFlipChanged(int flip);
    void frameScaleXChanged(double factor);
    void frameScaleYChanged(double factor);
    void frameAngleChanged(double degrees);
    void frameTimeChanged(int ticks);
    void onionSkinChanged(bool on);
    void onionSelPosChanged(int row);
    void onionFrameSelPosChanged(int row);
    void organizerClicked(int clicked);
    void tickChanged(unsigned int tick);
    void spritesGone();
};

} // namespace Kiln

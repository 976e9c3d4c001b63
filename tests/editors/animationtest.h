#pragma once

#include <ember/emberanimations.h>
#include <ember/emberdocument.h>
#include <ember/emberengine.h>
#include <ember/emberparentproject.h>
#include <ember/embersprites.h>
#include <hostkit/animationview.h>
#include <hostkit/viewport.h>
#include <kilnx/codeedit/codeworkspace.h>
#include <kilnx/editors/animationdlgs.h>
#include <kilnx/editors/organizer.h>
#include <kilnx/image/gif.h>
#include <kilnx/image/spritemime.h>
#include <kilnx/render/graphicsworkspace.h>
#include <kilnx/render/timelinewidget.h>
#include <tests/support/coloredrow.h>
#include <tests/support/files.h>
#include <tests/support/plainanimations.h>
#include <tests/support/release.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

/// What the tests of the animation editor share.
namespace AnimationTest
{

using namespace Kiln;

/// Moves something between two frames when it is told to.
struct Editor : HostKit::AnimationView {
    using AnimationView::AnimationView;
    bool interpolateFrames(FrameCode *frame, int tick) override
    {
        asked << qMakePair(frame->index(), tick);
        return interpolates;
    }
    QVector<QPair<int, int>> asked;
    bool interpolates = false;
};

/// An editor in a window on a file of the sample project, and the hands of its user.
struct Bench {
    explicit Bench(const QMap<QString, QVariant> &options = {})
    {
        GraphicsRenderer::setOrigin({});
        host.options = {{"native_painting", true},
                        {"confirm_delete", false},
                        {"zoom_level", 5},
                        {"show_attack_box", true},
                        {"show_collision_box", true}};
        for (auto option = options.cbegin(); option != options.cend(); ++option)
            host.options.insert(option.key(), option.value());
        host.currentEngine = &EmberEngine::instance();
        host.extraEditors[0] = organizer = new OrganizerEditor;
        code = std::make_unique<CodeWorkspace>(host);
        graphics = std::make_unique<GraphicsWorkspace>(host);
        graphics->reconfig();
        editor = std::make_unique<Editor>(code.get(), graphics.get(), &viewport);
        copyFolder(KILN_SOURCE_DIR "/examples/hero/", path("hero/"));
        parent = EmberParentProject::open(path("hero/"), FileSystemArchive::instance());
        host.projects = parent->openedProjects();
        for (Project *project : host.projects) {
            if (project->fileName().endsWith("wren.wisp"))
                wren = project;
        }
        host.activeProject = wren;
        host.switchTo(editor.get());
        file = dynamic_cast<EmberDocument *>(wren->file(Project::FileID::Animations));
        auto *window = qobject_cast<QMainWindow *>(host.mainWindow());
        window->setCentralWidget(host.editorWidget);
        window->resize(900, 600);
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        // The user's hands are on the viewport.
        viewport.widget()->setFocus();
        if (file)
            editor->setCurrentFile(file);
        first = text();
    }
    ~Bench()
    {
        if (editor)
            editor->setCurrentFile(nullptr);
        editor.reset();
        closeProjects();
        organizer->setObject(nullptr);
        organizer->release();
        code.reset();
        graphics.reset();
    }
    void closeProjects()
    {
        const QList<Project *> open = std::exchange(host.projects, {});
        host.activeProject = nullptr;
        file = nullptr;
        for (Project *project : open)
            project->release();
    }
    QString path(const QString &name) const { return directory.filePath(name); }
    QString text() const { return file ? file->toPlainText() : QString(); }
    EmberAnimations &list() const { return *file->animations(); }
    TimeLineWidget &strip() const { return *graphics->timeLine(); }
    void trigger(const QString &key) { host.action(("anim_" + key).toLatin1())->trigger(); }
    template<class Widget>
    Widget *field(const char *key) const
    {
        return qobject_cast<Widget *>(host.control(QLatin1String("anim_") + QLatin1String(key)));
    }
    int value(const char *key) const { return field<QSpinBox>(key)->value(); }
    double real(const char *key) const { return field<QDoubleSpinBox>(key)->value(); }
    void go(const char *name, int frame = 0)
    {
        editor->setCurrent(unsigned(list().find(0, QString(name))), unsigned(frame));
    }
    /// Shows a text in place of the file's.
    void show(const QString &wanted)
    {
        file->fromString(wanted);
        first = text();
        editor->update();
    }
    QString place() const { return field<QLabel>("place_lb")->text(); }
    /// The rows that the user selects in the next dialog; all of them for none.
    void expectRows(const QList<int> &rows)
    {
        host.dialogs().expectDialog([rows](QDialog *dialog) {
            auto *view = dialog->findChild<QListView *>();
            rows.isEmpty() ? view->selectAll() : view->clearSelection();
            for (const int row : rows)
                view->selectionModel()->select(view->model()->index(row, 0),
                                               QItemSelectionModel::Select);
            dialog->accept();
        });
    }
    /// Lets sprites fall on the viewport or, at a tick, on the strip.
    bool drop(const QStringList &sprites, int tick = -1)
    {
        const std::unique_ptr<QMimeData> data(SpriteMime::make(sprites));
        const QPoint on = tick < 0 ? QPoint(60, 60) : strip().pos() + QPoint(128 + 6 * tick, 30);
        const Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction;
        QDragEnterEvent enter(on, offered, data.get(), Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(graphics->widget(), &enter);
        QDropEvent event(on, offered, data.get(), Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(Qt::MoveAction);
        QCoreApplication::sendEvent(graphics->widget(), &event);
        return enter.isAccepted() && event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }
    void chooseFlip(int flip)
    {
        field<QComboBox>("frame_flip")->setCurrentIndex(flip);
        Q_EMIT field<QComboBox>("frame_flip")->activated(flip);
    }
    /// Both in image pixels.
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers keys = Qt::NoModifier)
    {
        const auto at = [this](QPoint point) {
            return GraphicsRenderer::origin() + point * double(viewport.zoomFactor());
        };
        viewport.mousePressed(at(from), Qt::LeftButton, keys);
        viewport.mouseMoved(at(to), keys);
        viewport.mouseReleased(at(to), Qt::LeftButton, keys);
    }
    /// What differs between the text and what viewport, fields and strip show of it.
    QString differences() const;
    /// All that is seen of the editor, by texts, states and the pixels of viewport and strip.
    QStringList shown() const;

    TestHost host;
    OrganizerEditor *organizer = nullptr;
    QTemporaryDir directory;
    std::unique_ptr<CodeWorkspace> code;
    std::unique_ptr<GraphicsWorkspace> graphics;
    HostKit::Viewport viewport;
    std::unique_ptr<Editor> editor;
    EmberParentProject *parent = nullptr;
    Project *wren = nullptr;
    EmberDocument *file = nullptr;
    QString first; ///< the text at the start
};

inline QString Bench::differences() const
{
    QString found;
    const auto differ = [&found](const char *what, auto got, auto wanted) {
        if (!(got == wanted))
            QDebug(&found) << what << got << "instead of" << wanted << ';';
    };
    const QVector<PlainAnimations::Animation> plain = PlainAnimations::read(text());
    differ("animations", int(list().count()), plain.size());
    differ("animations to choose", field<QSlider>("sel")->maximum(), qMax(0, plain.size() - 1));
    AnimationCode *animation = editor->currentAnimation();
    const bool plays = editor->isPlaying();
    // What is there rules what can be done.
    const auto can = [&](const char *keys, bool wanted) {
        for (const QString &key : QString(keys).split(' ')) {
            const QAction *action = host.action(("anim_" + key).toLatin1());
            if ((action ? action->isEnabled() : field<QWidget>(key.toLatin1())->isEnabled()) !=
                wanted)
                found += QString("%1 is %2;").arg(key, wanted ? "disabled" : "enabled");
        }
    };
    can("editcode add optimize export import import_proj onion_skin", true);
    can("code delete duplicate save_gif play stop frame_add prev_anim next_anim sel onion_sel "
        "onion_framesel",
        animation);
    can("frame_delete frameall_offset frameall_time frameall_flip frameall_scale frame_align "
        "box_delall box_delall_anim box_prev box_allinst pos_left pos_up pos_right pos_down "
        "prev_frame next_frame frame_sel frame_xaxis frame_yaxis frame_flip frame_xscale "
        "frame_yscale frame_angle frame_time frame_xaxis_lb frame_yaxis_lb frame_flip_lb "
        "frame_xscale_lb frame_yscale_lb frame_angle_lb frame_time_lb",
        editor->currentFrame());
    can("box_add_attack box_add_collision box_del box_type", editor->currentFrame() && !plays);
    const auto isOn = [this](const char *key) { return host.action(key)->isChecked(); };
    differ("play", isOn("anim_play"), plays);
    differ("stop", isOn("anim_stop"), !plays);
    differ("text", isOn("anim_editcode"), code->widget()->isVisible());
    differ("draws", isOn("anim_box_add_attack") + isOn("anim_box_add_collision"),
           int(viewport.clickMode() == GraphicsRenderer::ClickDrawContactBox));
    if (!editor->currentFrame()) {
        differ("place", place(), QString("Animation: none, Frame: none"));
        QStringList fields;
        for (const char *key : {"frame_xaxis", "frame_yaxis", "frame_time", "frame_angle",
                                "frame_xscale", "frame_yscale", "frame_sel"})
            fields << field<QWidget>(key)->property("value").toString();
        fields << field<QComboBox>("frame_flip")->currentText();
        differ("fields", fields.join(' '), "0 0 0 0 1 1 0 " + KilnTranslator::instance()->text(82));
    }
    if (plain.isEmpty())
        differ("row of rows", field<QLabel>("sel_lb")->text(), QString("0 / 0"));
    differ("there is an animation", animation != nullptr, !plain.isEmpty());
    if (!animation || !found.isEmpty())
        return found;
    const int row = field<QSlider>("sel")->value();
    const PlainAnimations::Animation &said = plain[row];
    differ("current", list().at(unsigned(row)), animation);
    differ("selected", int(list().selected()), row);
    differ("in the organizer", organizer->selectedRows(), QVector<int>{row});
    differ("name", animation->name(), said.name);
    // Who is in the text sees what the cursor is at. Comments are above what they are of.
    const QStringList lines = text().split('\n');
    const auto top = [&](int of) {
        int line = of < plain.size() ? plain[of].line : lines.size();
        while (of < plain.size() && line > 0 && lines[line - 1].trimmed().startsWith(';'))
            --line;
        return line;
    };
    const int cursor = code->editor()->textCursor().blockNumber();
    for (int i = 0; i < plain.size() && code->editor()->hasFocus() && !plays; ++i) {
        if (cursor < top(i) || cursor >= top(i + 1))
            continue;
        int wanted = 0;
        while (wanted + 1 < plain[i].frames.size() && plain[i].frames[wanted].line < cursor)
            ++wanted;
        differ("row of the cursor", row, i);
        differ("its frame", field<QSlider>("frame_sel")->value(), wanted);
    }
    differ("frames", int(animation->frameCount()), said.frames.size());
    FrameCode *frame = editor->currentFrame();
    differ("there is a frame", frame != nullptr, !said.frames.isEmpty());
    const auto places = [](int index, int count) {
        return QString("%1 / %2").arg(count ? index + 1 : 0).arg(count);
    };
    const int at = field<QSlider>("frame_sel")->value();
    const QString frames = places(at, said.frames.size());
    differ("row of rows", field<QLabel>("sel_lb")->text(), places(row, plain.size()));
    differ("frame of frames", field<QLabel>("frame_sel_lb")->text(), frames);
    differ("frames to choose", field<QSlider>("frame_sel")->maximum(),
           qMax(0, said.frames.size() - 1));
    qint64 tick = 0;
    auto *line = dynamic_cast<TimeLine *>(viewport.spriteProvider());
    TimeLineCell cell;
    int atTick = -1;
    int i = 0;
    for (; i < said.frames.size() && found.isEmpty(); ++i) {
        const PlainAnimations::Frame &each = said.frames[i];
        if (each.delay == 0)
            continue;
        differ("a cell", line->at(unsigned(tick), cell), true);
        differ("its length", cell.length, qMax(1, each.delay));
        differ("is marked", cell.color == QGuiApplication::palette().highlight().color(), i == at);
        differ("is green", i != at && cell.color.green() > cell.color.blue(), i != at && each.loop);
        if (qint64(strip().currentTick()) >= tick)
            atTick = i;
        tick += qMax(1, each.delay);
        differ("within it", line->at(unsigned(tick - 1), cell), each.delay * each.delay == 1);
        if (each.delay < 0)
            break;
    }
    differ("behind all", line->at(unsigned(tick), cell), false);
    if (!plays && at <= i && frame && said.frames[at].delay)
        differ("its tick", atTick, at);
    if (!plays)
        differ("ticks", line->name(), QString("%1 - %2 ticks").arg(frames).arg(tick));
    if (!frame || !found.isEmpty())
        return found;
    const PlainAnimations::Frame &now = said.frames[at];
    differ("frame", animation->frameAt(unsigned(at)), frame);
    differ("selected frame", int(animation->selectedFrame()), at);
    differ("offset", QPoint(value("frame_xaxis"), value("frame_yaxis")), now.offset);
    differ("time", value("frame_time"), now.delay);
    differ("flip", field<QComboBox>("frame_flip")->currentIndex(), now.flip);
    const double exact = 1e-4; // four digits are shown
    differ("scale",
           qAbs(real("frame_xscale") - now.scale.x()) < exact &&
               qAbs(real("frame_yscale") - now.scale.y()) < exact,
           true);
    differ("angle", qAbs(real("frame_angle") - now.angle) < exact, true);
    for (int kind = 0; kind < 2; ++kind) {
        ContactBoxesCode *boxes = viewport.boxes(ContactBoxCode::BoxType(kind + 1));
        differ("boxes", boxes ? boxes->rects() : QVector<QRect>(), now.boxes[kind]);
    }
    auto *sprites = dynamic_cast<EmberSprites *>(wren->file(Project::FileID::Sprites));
    const int sprite = sprites->indexOf(0, now.sprite);
    SpriteProvider *shown = viewport.spriteProvider();
    differ("sprite", shown->count() ? shown->spriteAt(0) : nullptr,
           sprite < 0 ? nullptr : static_cast<Sprite *>(sprites->at(unsigned(sprite))));
    const QString missing = sprite < 0 ? QString(", no sprite \"%1\"").arg(now.sprite) : "";
    differ("place", place(),
           QString("Animation: %1, Frame: %2").arg(said.name).arg(at + 1) + missing);
    return found;
}

inline QStringList Bench::shown() const
{
    QStringList found;
    const auto properties = [&found](const QObject *of, const char *names) {
        QString line = of->objectName();
        for (const QByteArray &name : QByteArray(names).split(' '))
            line += QString(" %1=%2").arg(QString(name), of->property(name).toString());
        found << line;
    };
    const QRegularExpression ours("^anim_");
    for (const QWidget *each : host.mainWindow()->findChildren<QWidget *>(ours))
        properties(each, "enabled text value minimum maximum currentIndex currentText checked "
                         "toolTip accessibleName");
    for (const QAction *each : host.mainWindow()->findChildren<QAction *>(ours))
        properties(each, "enabled checked text toolTip");
    found.sort();
    for (const int told :
         {Interface::PositionField, Interface::GuidesField, Interface::RendererField})
        found << host.statusTexts.value(told);
    const auto *rows = qobject_cast<QListView *>(host.control("org_list"));
    for (int i = 0; i < rows->model()->rowCount(); ++i)
        found << rows->model()->index(i, 0).data().toString();
    const QImage pixels = graphics->widget()->grab().toImage();
    QDebug(&found.last()) << organizer->selectedRows() << pixels.size()
                          << qHashBits(pixels.constBits(), size_t(pixels.sizeInBytes()));
    return found;
}

/// Everything that the text says, as the library reads it.
inline QStringList dump(const Animations &list)
{
    QStringList lines;
    for (AnimationCode *animation : list.animations()) {
        QString line;
        QDebug(&line) << animation->name() << animation->property("Title")
                      << animation->property("Layer") << animation->property("Once");
        for (FrameCode *frame : animation->frames()) {
            QDebug(&line) << frame->identifier() << frame->offset() << frame->delay()
                          << frame->scale() << frame->angle() << int(frame->flip())
                          << frame->isLoopPoint() << frame->property("Opacity")
                          << frame->attackBoxes()->rects() << frame->collisionBoxes()->rects();
        }
        lines.append(line);
    }
    return lines;
}

inline QStringList dumpOf(const QString &text)
{
    const std::unique_ptr<EmberDocument, Release> fresh(
        new EmberDocument(EmberDocument::Animations));
    fresh->fromString(text);
    return dump(*fresh->animations());
}

} // namespace AnimationTest

#include "testhost.h"

#include <kilnx/project/editor.h>
#include <kilnx/project/fileeditor.h>
#include <kilnx/project/filewatch.h>

using namespace Kiln;

namespace
{

/// Notes its steps in a record that outlives it, and destroys itself on `finish`.
class RecordingProgress : public Progress
{
public:
    RecordingProgress(std::shared_ptr<TestHost::ProgressRecord> record,
                      std::function<void()> during,
                      unsigned int cancelAt)
        : m_record(std::move(record))
        , m_during(std::move(during))
        , m_cancelAt(cancelAt)
    {
    }

    void setProgress(unsigned int value, unsigned int total, bool *cancelled) override
    {
        if (total > 0)
            m_record->total = total;
        m_record->steps << value;
        if (value > 0 && m_during)
            std::exchange(m_during, nullptr)();
        if (cancelled && m_cancelAt > 0 && value >= m_cancelAt)
            *cancelled = true;
    }

    void finish() override
    {
        ++m_record->finished;
        delete this;
    }

private:
    std::shared_ptr<TestHost::ProgressRecord> m_record;
    std::function<void()> m_during;
    const unsigned int m_cancelAt;
};

} // namespace

TestHost::TestHost()
    : HostBase(&window, {})
{
    window.resize(800, 600);
    FileWatchObject::setListener({}); // what the library asks by itself
}

QString TestHost::text(int id) const
{
    return QString("host text %1").arg(id);
}

Progress *TestHost::progress(const QString &text, bool cancellable)
{
    auto record = std::make_shared<ProgressRecord>();
    record->text = text;
    record->cancellable = cancellable;
    progresses << record;
    return new RecordingProgress(record, std::exchange(duringProgress, nullptr), cancelAt);
}

FileEditor *TestHost::editorForFile(ProjectFile *, Project::FileID id) const
{
    for (auto entry = fileEditors.cbegin(); entry != fileEditors.cend(); ++entry) {
        if (id.bits & static_cast<unsigned int>(entry.key()))
            return entry.value();
    }
    return nullptr;
}

ExtraEditor *TestHost::extraEditor(int index) const
{
    ExtraEditor *own = extraEditors.value(index);
    return own ? own : HostBase::extraEditor(index);
}

Project *TestHost::project(unsigned int index) const
{
    return projects.value(int(index));
}

QVariant TestHost::option(const QString &key, const QVariant &fallback) const
{
    return options.value(key, fallback);
}

void TestHost::setOption(const QString &key, const QVariant &value)
{
    log << QString("setOption %1=%2").arg(key, value.toString());
    if (value.isValid())
        options.insert(key, value);
}

void TestHost::setStatusText(int field, const QString &text)
{
    statusTexts.insert(field, text);
}

// The field stands in the window itself, where a test may place it.
QWidget *TestHost::addControl(const QString &key, const Control &control)
{
    log << QString("addControl ") + key;
    QWidget *field = HostBase::addControl(key, control);
    if (field)
        field->setParent(&window);
    return field;
}

void TestHost::refreshEditors()
{
    log << QString("refreshEditors");
}

void TestHost::switchTo(Editor *editor)
{
    log << QString("switchTo ") + QString::fromLatin1(editor->name());
    if (activeEditor)
        activeEditor->deactivate();
    activeEditor = editor;
    editor->activate();
}

void TestHost::setExtraEditor(ExtraEditor *editor)
{
    log << QString("setExtraEditor ") +
               (editor ? QString::fromLatin1(editor->name()) : QString("none"));
    shownExtraEditor = editor;
}

void TestHost::setEditorWidget(QWidget *widget)
{
    editorWidget = widget;
    log << QString("setEditorWidget");
}

// Part of test programs under the thread sanitizer alone. Qt is not built for it, so it cannot see
// that a thread pool hands work over in order, nor that all is done after a wait: these stand
// before Qt's own and tell it.

#include <QtCore/QRunnable>
#include <QtCore/QThreadPool>

#include <dlfcn.h>
#include <memory>

extern "C" void __tsan_acquire(void *address);
extern "C" void __tsan_release(void *address);

namespace
{

char done; ///< stands for all work that is done

/// Work that sees all that was done before it was handed over. As every work, it may be cleared
/// away without having run.
class OrderedWork : public QRunnable
{
public:
    explicit OrderedWork(QRunnable *work)
        : m_work(work)
    {
    }
    ~OrderedWork() override
    {
        if (m_work->autoDelete())
            delete m_work;
    }
    void run() override
    {
        __tsan_acquire(this);
        m_work->run();
        __tsan_release(&done);
    }

private:
    QRunnable *const m_work;
};

} // namespace

void QThreadPool::start(QRunnable *work, int priority)
{
    using Start = void (*)(QThreadPool *, QRunnable *, int);
    static const auto start =
        reinterpret_cast<Start>(dlsym(RTLD_NEXT, "_ZN11QThreadPool5startEP9QRunnablei"));
    auto *ordered = new OrderedWork(work);
    __tsan_release(ordered);
    start(this, ordered, priority);
}

void QThreadPool::start(std::function<void()> work, int priority)
{
    start(QRunnable::create(std::move(work)), priority);
}

bool QThreadPool::waitForDone(int msecs)
{
    using Wait = bool (*)(QThreadPool *, int);
    static const auto wait =
        reinterpret_cast<Wait>(dlsym(RTLD_NEXT, "_ZN11QThreadPool11waitForDoneEi"));
    const bool isDone = wait(this, msecs);
    __tsan_acquire(&done);
    return isDone;
}

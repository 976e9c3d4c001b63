#pragma once

#include <csignal>
#include <sys/resource.h>

/// While it lives, no file of this process can grow above a size: the disk is full.
class FullDisk
{
public:
    explicit FullDisk(rlim_t size)
    {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{size, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before;
};

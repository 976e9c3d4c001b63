#pragma once

/// Releases files and documents that a test holds by a std::unique_ptr.
struct Release {
    template<class File>
    void operator()(File *file) const
    {
        file->release();
    }
};

#include "fuzz.h"

#include <QFile>

#include <cstdio>

/// Runs one target on the files that are named: what valgrind, which knows uninitialised memory,
/// can run without libFuzzer.
int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        QFile file(QString::fromLocal8Bit(argv[i]));
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot read %s\n", argv[i]);
            return 2;
        }
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.constData()),
                               static_cast<size_t>(bytes.size()));
    }
    return 0;
}

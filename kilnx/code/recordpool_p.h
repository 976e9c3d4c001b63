#pragma once

#include <memory>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) // as GCC tells it
#define KILNX_RECORDS_APART
#elif defined(__has_feature) // as clang does
#if __has_feature(address_sanitizer)
#define KILNX_RECORDS_APART
#endif
#endif

namespace Kiln
{
/// Memory for the many records of one type, side by side in the order in which they are made: a
/// walk over all lines of a long text reads it in order, and each record needs no more than its
/// size. What is given back serves the next records and stays with the process. GUI thread only.
template<typename Record>
class RecordPool
{
public:
    static void *take()
    {
#if defined(KILNX_RECORDS_APART)
        return ::operator new(sizeof(Record)); // so that a use after destruction is found
#else
        Item *&first = free();
        if (!first)
            grow();
        Item *item = first;
        first = item->next;
        return item;
#endif
    }

    static void give(void *record)
    {
#if defined(KILNX_RECORDS_APART)
        ::operator delete(record);
#else
        auto *item = static_cast<Item *>(record);
        item->next = free();
        free() = item;
#endif
    }

private:
    union Item {
        Item *next;
        alignas(Record) unsigned char bytes[sizeof(Record)];
    };
    static constexpr int itemsAtOnce = 256;

    static Item *&free()
    {
        static Item *first = nullptr;
        return first;
    }

    static void grow()
    {
        // Not destroyed at exit: documents of static lifetime may be destroyed later.
        static auto *chunks = new std::vector<std::unique_ptr<Item[]>>;
        chunks->push_back(std::make_unique<Item[]>(itemsAtOnce));
        Item *items = chunks->back().get();
        for (int i = itemsAtOnce - 1; i >= 0; --i) {
            items[i].next = free();
            free() = items + i;
        }
    }
};
} // namespace Kiln

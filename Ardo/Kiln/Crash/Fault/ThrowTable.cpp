#include "Ardo/Kiln/Crash/Fault/ThrowTable.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>

namespace Ardo::Kiln::Crash
{

namespace
{

struct Entry
{
    std::atomic<bool> taken = false;           ///< A thread is reading or writing the place.
    std::atomic<const void*> object = nullptr; ///< Changes only while taken.
    ThrowPlace place;
};

/// Entries of the objects whose addresses have one hash value.
struct Bucket
{
    std::array<Entry, 4> entries;
    std::atomic<unsigned> oldest = 0; ///< Index of the entry that is replaced next, modulo their number.
};

constexpr unsigned BucketBits = 6;
std::array<Bucket, 1U << BucketBits> g_buckets;

Bucket& BucketOf(const void* object) noexcept
{
    constexpr std::uint64_t Multiplier = 0x9E3779B97F4A7C15;             // 2^64 divided by the golden ratio
    const auto address = reinterpret_cast<std::uintptr_t>(object) >> 4U; // allocations are aligned
    return g_buckets[address * Multiplier >> (64 - BucketBits)];
}

/// Owns an entry as long as it lives, unless another thread owns it.
class Ownership
{
public:
    explicit Ownership(Entry& entry) noexcept
        : m_entry(entry.taken.exchange(true, std::memory_order_acquire) ? nullptr : &entry)
    {
    }
    ~Ownership()
    {
        if (m_entry != nullptr)
        {
            m_entry->taken.store(false, std::memory_order_release);
        }
    }
    Ownership(const Ownership&) = delete;
    Ownership& operator=(const Ownership&) = delete;

    explicit operator bool() const noexcept { return m_entry != nullptr; }

private:
    Entry* m_entry;
};

Entry* Find(Bucket& bucket, const void* object) noexcept
{
    auto* const found =
        std::find_if(bucket.entries.begin(), bucket.entries.end(),
                     [&](const Entry& entry) { return entry.object.load(std::memory_order_relaxed) == object; });
    return found != bucket.entries.end() ? found : nullptr;
}

} // namespace

void RememberThrowPlace(const void* object, const ThrowPlace& place) noexcept
{
    Bucket& bucket = BucketOf(object);
    Entry* entry = Find(bucket, object);
    if (entry == nullptr)
    {
        entry = Find(bucket, nullptr);
    }
    if (entry == nullptr)
    {
        entry = &bucket.entries[bucket.oldest.fetch_add(1, std::memory_order_relaxed) % bucket.entries.size()];
    }
    if (const Ownership owned(*entry); owned)
    {
        entry->object.store(object, std::memory_order_relaxed);
        entry->place.address = place.address;
        entry->place.frameCount = place.frameCount;
        std::copy_n(place.frames, place.frameCount, entry->place.frames);
    }
}

bool FindThrowPlace(const void* object, ThrowPlace& place) noexcept
{
    Entry* const entry = Find(BucketOf(object), object);
    if (entry == nullptr)
    {
        return false;
    }
    const Ownership owned(*entry);
    if (!owned || entry->object.load(std::memory_order_relaxed) != object)
    {
        return false;
    }
    place = entry->place;
    return true;
}

void ForgetThrowPlace(const void* object) noexcept
{
    Entry* const entry = Find(BucketOf(object), object);
    if (entry == nullptr)
    {
        return;
    }
    const Ownership owned(*entry);
    if (owned && entry->object.load(std::memory_order_relaxed) == object)
    {
        entry->object.store(nullptr, std::memory_order_relaxed);
    }
}

} // namespace Ardo::Kiln::Crash

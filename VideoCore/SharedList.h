#pragma once

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

namespace orvo {

/// A list with value semantics whose storage is shared between copies until one of them changes.
///
/// Copying costs one atomic increment, whatever the length. Reading never copies. The first `edit()` of a list with
/// shared storage copies the items once. Different copies may be used from different threads.
template <typename T> class SharedList {
public:
    using value_type = T;
    using const_iterator = std::vector<T>::const_iterator;

    SharedList() = default;
    SharedList(std::initializer_list<T> items)
        : SharedList(std::vector<T>(items))
    {
    }
    explicit SharedList(std::vector<T> items)
    {
        if (!items.empty())
            m_storage = make(std::move(items));
    }
    SharedList(const SharedList& other) noexcept
        : m_storage(other.m_storage)
    {
        if (m_storage)
            m_storage->owners.fetch_add(1, std::memory_order_relaxed);
    }
    SharedList(SharedList&& other) noexcept
        : m_storage(std::exchange(other.m_storage, nullptr))
    {
    }
    SharedList& operator=(SharedList other) noexcept
    {
        std::swap(m_storage, other.m_storage);
        return *this;
    }
    ~SharedList()
    {
        if (m_storage && m_storage->owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
            std::unique_ptr<Storage>(m_storage).reset();
    }

    const std::vector<T>& items() const noexcept { return m_storage ? m_storage->items : noItems; }
    std::size_t size() const noexcept { return items().size(); }
    bool empty() const noexcept { return items().empty(); }
    const_iterator begin() const noexcept { return items().begin(); }
    const_iterator end() const noexcept { return items().end(); }
    const T& operator[](std::size_t index) const { return items()[index]; }
    const T& front() const { return items().front(); }
    const T& back() const { return items().back(); }

    /// This copy's own items, to change in place. The reference is valid until this list is copied or assigned.
    std::vector<T>& edit()
    {
        if (!m_storage)
            m_storage = make({});
        else if (m_storage->owners.load(std::memory_order_acquire) != 1)
            *this = SharedList(*make(m_storage->items));
        return m_storage->items;
    }

    /// Whether both copies use the same storage; they are then equal without comparing items.
    bool sharesStorageWith(const SharedList& other) const noexcept { return m_storage == other.m_storage; }

    friend bool operator==(const SharedList& a, const SharedList& b)
    {
        return a.sharesStorageWith(b) || a.items() == b.items();
    }

private:
    struct Storage {
        explicit Storage(std::vector<T> list)
            : items(std::move(list))
        {
        }
        std::atomic<std::size_t> owners{1};
        std::vector<T> items;
    };

    /// Storage with one owner.
    static Storage* make(std::vector<T> items) { return std::make_unique<Storage>(std::move(items)).release(); }

    explicit SharedList(Storage& storage) noexcept
        : m_storage(&storage)
    {
    }

    inline static const std::vector<T> noItems;
    Storage* m_storage = nullptr;
};

} // namespace orvo

#include "Ardo/Kiln/Exception/ErrorInfoContainer.h"

#include <boost/exception/info.hpp>
#include <boost/version.hpp>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace Ardo::Kiln::Exception
{

namespace
{

namespace detail = boost::exception_detail;

// A private interface: no public one lets the library give an exception its container.
static_assert(
    BOOST_VERSION >= 107100 && BOOST_VERSION < 107500,
    "Private parts of Boost.Exception are used as they are in Boost 1.71 to 1.74: compare error_info_container "
    "and set_info_rv with those of this version, run ExceptionTests, and widen the range.");

/// Does what Boost's container does, for copies on several threads. Reading is safe there too; attaching is not.
class ErrorInfoContainer final : public detail::error_info_container
{
public:
    ErrorInfoContainer() = default;
    ErrorInfoContainer(const ErrorInfoContainer&) = delete;
    ErrorInfoContainer& operator=(const ErrorInfoContainer&) = delete;

    const char* diagnostic_information(const char* header) const override
    {
        // Without a header, return the text made last on this thread: not per container, so that copies can be printed
        // on two threads.
        std::string& text = TextOfThread();
        if (header != nullptr)
        {
            std::string listing = header;
            for (const auto& [type, entry] : m_entries)
            {
                listing += entry->name_value_string();
            }
            text = std::move(listing);
        }
        return text.c_str();
    }

    boost::shared_ptr<detail::error_info_base> get(const detail::type_info_& type) const override
    {
        const auto entry = m_entries.find(type);
        return entry != m_entries.end() ? entry->second : nullptr;
    }

    void set(const boost::shared_ptr<detail::error_info_base>& entry, const detail::type_info_& type) override
    {
        m_entries[type] = entry;
    }

    void add_ref() const override { m_count.fetch_add(1, std::memory_order_relaxed); }

    bool release() const override
    {
        if (m_count.fetch_sub(1, std::memory_order_acq_rel) != 1)
        {
            return false;
        }
        delete this;
        return true;
    }

    detail::refcount_ptr<detail::error_info_container> clone() const override
    {
        detail::refcount_ptr<detail::error_info_container> result;
        auto* const copy = new ErrorInfoContainer;
        result.adopt(copy);
        for (const auto& [type, entry] : m_entries)
        {
            copy->m_entries[type].reset(entry->clone());
        }
        return result;
    }

private:
    ~ErrorInfoContainer() noexcept = default;

    /// Not thread-local: the first use of such an object on a thread takes a lock of the loader, and a fault in a
    /// plug-in's static object is presented while that is held. Entries of finished threads are reused.
    static std::string& TextOfThread()
    {
        static auto& mutex = *new std::mutex;
        static auto& texts = *new std::map<std::thread::id, std::string>;
        const std::lock_guard lock(mutex);
        return texts[std::this_thread::get_id()];
    }

    std::map<detail::type_info_, boost::shared_ptr<detail::error_info_base>> m_entries;
    mutable std::atomic<int> m_count = 0;
};

} // namespace

} // namespace Ardo::Kiln::Exception

namespace boost::exception_detail
{

// boost::exception lets nobody set its container but the specialisations of this template.
template <>
struct set_info_rv<Ardo::Kiln::Exception::ErrorInfoContainer>
{
    static void Set(const boost::exception& exception)
    {
        exception.data_.adopt(new Ardo::Kiln::Exception::ErrorInfoContainer);
    }
};

} // namespace boost::exception_detail

namespace Ardo::Kiln::Exception
{

void GiveErrorInfoContainer(const boost::exception& exception)
{
    detail::set_info_rv<ErrorInfoContainer>::Set(exception);
}

} // namespace Ardo::Kiln::Exception

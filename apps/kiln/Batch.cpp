#include "apps/kiln/Batch.h"

#include "apps/kiln/ConsoleInterrupt.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Streams.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <thread>
#include <utility>

namespace Ardo::Kiln::Tool
{

namespace
{

using Work = std::function<FileReport(const FoundFile& file)>;

FileReport Failed(const FoundFile& file, const std::string& reason, bool isJson)
{
    LogError(reason);
    FileReport report{{}, "kiln: " + Printable(reason) + "\n", true};
    if (isJson)
    {
        const QJsonObject object{{"file", QString::fromUtf8(file.name.c_str())},
                                 {"error", QString::fromUtf8(reason.c_str())}};
        report.output = QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
    }
    return report;
}

FileReport ReportOf(const FoundFile& file, const Work& work, bool isJson)
try
{
    if (!file.problem.empty())
    {
        throw Failure(file.name + ": " + file.problem);
    }
    const WarningSubject subject(file.name);
    return work(file);
}
catch (const std::exception& error)
{
    return Failed(file, error.what(), isJson);
}

/// Reports of the files in their order, made by several threads.
class Reports
{
public:
    Reports(const std::vector<FoundFile>& files, const Work& work, bool isJson)
        : m_files(files), m_work(work), m_isJson(isJson)
    {
        const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
        for (std::size_t i = 0; i < std::min(processors, files.size()); ++i)
        {
            const auto& worker =
                m_workers.emplace_back(std::make_unique<Threading::BackgroundWorker>("Files " + std::to_string(i + 1)));
            worker->Post([this]() noexcept { Run(); });
        }
    }

    /// Waits for the files that have been begun.
    ~Reports()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isStopped = true;
        }
        m_hasRoom.notify_all();
    }

    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    /// Takes the reports of the next files, as many as are made within a short time. The caller wakes up for a group of
    /// them, because waking a thread takes longer than reading a small file.
    std::vector<FileReport> Take()
    {
        std::unique_lock lock(m_mutex);
        constexpr std::chrono::milliseconds Limit(50); // until the caller looks at Ctrl-C again
        m_isReported.wait_for(lock, Limit, [this] { return HasGroup(); });
        std::vector<FileReport> reports;
        for (auto next = m_reports.find(m_taken); next != m_reports.end() && next->first == m_taken; ++m_taken)
        {
            reports.push_back(std::move(next->second));
            next = m_reports.erase(next);
        }
        lock.unlock();
        m_hasRoom.notify_all();
        return reports;
    }

private:
    bool HasGroup() const
    {
        constexpr std::size_t Group = 32;
        return m_reports.contains(m_taken) && m_reports.size() >= std::min(Group, m_files.size() - m_taken);
    }

    void Run()
    {
        // Reports that wait for an earlier one are limited.
        constexpr std::size_t Ahead = 256;
        std::unique_lock lock(m_mutex);
        while (true)
        {
            m_hasRoom.wait(lock, [this] { return m_isStopped || m_next < m_taken + Ahead; });
            if (m_isStopped || m_next == m_files.size())
            {
                return;
            }
            const std::size_t index = m_next++;
            lock.unlock();
            FileReport report = ReportOf(m_files[index], m_work, m_isJson);
            lock.lock();
            m_reports.emplace(index, std::move(report));
            if (HasGroup())
            {
                m_isReported.notify_one();
            }
        }
    }

    const std::vector<FoundFile>& m_files;
    const Work& m_work;
    const bool m_isJson;
    std::mutex m_mutex;
    std::condition_variable m_isReported;        ///< There is a group of reports.
    std::condition_variable m_hasRoom;           ///< Reports have been taken, or it is stopped.
    std::map<std::size_t, FileReport> m_reports; ///< By the index of their file; not taken yet.
    std::size_t m_next = 0;                      ///< The next file to begin.
    std::size_t m_taken = 0;                     ///< The next report to take.
    bool m_isStopped = false;
    std::vector<std::unique_ptr<Threading::BackgroundWorker>> m_workers; ///< Last, so that they end before the rest.
};

/// A line on standard error that shows how far the work is.
class ProgressBar
{
public:
    ProgressBar(std::size_t total, bool isShown) : m_total(total), m_isShown(isShown) {}

    void Show(std::size_t done, std::size_t failed)
    {
        const auto now = std::chrono::steady_clock::now();
        constexpr std::chrono::milliseconds Interval(100);
        if (!m_isShown || (done < m_total && now - m_last < Interval))
        {
            return;
        }
        m_last = now;
        constexpr std::size_t Width = 30;
        std::string bar(done * Width / m_total, '#');
        bar.resize(Width, '.');
        m_line = "[" + bar + "] " + std::to_string(done) + " of " + std::to_string(m_total) + " files" +
                 (failed > 0 ? ", " + std::to_string(failed) + " failed" : "");
        std::cerr << "\r" + m_line << std::flush;
    }

    /// Removes the line, so that something else can be printed.
    void Clear()
    {
        if (!m_line.empty())
        {
            std::cerr << "\r" + std::string(m_line.size(), ' ') + "\r" << std::flush;
            m_line.clear();
        }
    }

private:
    const std::size_t m_total;
    const bool m_isShown;
    std::chrono::steady_clock::time_point m_last;
    std::string m_line; ///< What is shown.
};

void PrintSummary(std::size_t total, const std::vector<std::string>& failed)
{
    std::string text = "kiln: " + std::to_string(total) + " files, " + std::to_string(failed.size()) + " failed\n";
    for (const std::string& name : failed)
    {
        text += "    " + Printable(name) + "\n";
    }
    std::cerr << text;
}

} // namespace

bool ForEachFile(const BatchOptions& options, const std::vector<FoundFile>& files, const Work& work)
{
    if (files.size() == 1 && files[0].problem.empty() && !options.isJson)
    {
        const FileReport report = work(files[0]);
        Print(report.output);
        std::cerr << report.messages;
        return !report.hasFailed;
    }
    const bool isShown = options.progress || (files.size() > 1 && ConsoleInterrupt::IsStandardErrorShown());
    ProgressBar progress(files.size(), isShown);
    std::vector<std::string> failed;
    const ConsoleInterrupt interrupt;
    {
        Reports reports(files, work, options.isJson);
        for (std::size_t done = 0; done < files.size();)
        {
            if (interrupt.IsRequested())
            {
                progress.Clear();
                throw Interrupted();
            }
            std::string output;
            std::vector<FileReport> taken = reports.Take();
            output.reserve(std::transform_reduce(taken.begin(), taken.end(), std::size_t{16}, std::plus(),
                                                 [](const FileReport& report) { return report.output.size() + 2; }));
            for (FileReport& report : taken)
            {
                if (options.isJson)
                {
                    output += done == 0 ? "[\n" : ",\n";
                }
                if (!report.messages.empty())
                {
                    progress.Clear(); // both may be the same console
                    Print(std::exchange(output, ""));
                    std::cerr << report.messages;
                }
                output += report.output;
                if (report.hasFailed)
                {
                    failed.push_back(files[done].name);
                }
                ++done;
            }
            output += options.isJson && done == files.size() ? "\n]\n" : "";
            if (!output.empty())
            {
                progress.Clear();
                Print(output);
            }
            progress.Show(done, failed.size());
        }
    }
    if (isShown)
    {
        std::cerr << '\n';
    }
    if (files.size() > 1 && (isShown || !failed.empty()))
    {
        PrintSummary(files.size(), failed);
    }
    return failed.empty();
}

bool ForEachFile(const BatchOptions& options, FilesOfFolder kind, const Work& work)
{
    return ForEachFile(options, FindFiles(options.files, options.isRecursive, kind), work);
}

} // namespace Ardo::Kiln::Tool

#include "platform/ProcessTree.h"

#include "platform/windows/Owners.h"

#include <QProcess>

#include <vector>

namespace torvelane::platform {

namespace {

bool setJobLimits(HANDLE job, DWORD flags)
{
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = flags;
    return SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
}

// STARTUPINFOEXW whose one attribute names the job that the new process is created in. The child is then in the job
// before its first instruction: it can't start anything that escapes, and a crash of ours in between leaves no orphan.
class JobStartupInfo {
public:
    explicit JobStartupInfo(HANDLE job) : m_job(job)
    {
        m_info.StartupInfo.cb = sizeof(m_info);
        SIZE_T sizeBytes = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &sizeBytes);
        m_storage.resize(sizeBytes);
        auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_storage.data());
        if (!InitializeProcThreadAttributeList(list, 1, 0, &sizeBytes))
            return;
        m_info.lpAttributeList = list;
        m_usable =
            UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_JOB_LIST, &m_job, sizeof(m_job), nullptr, nullptr);
    }

    ~JobStartupInfo()
    {
        if (m_info.lpAttributeList)
            DeleteProcThreadAttributeList(m_info.lpAttributeList);
    }

    JobStartupInfo(const JobStartupInfo&) = delete;
    JobStartupInfo& operator=(const JobStartupInfo&) = delete;

    [[nodiscard]] bool isUsable() const { return m_usable; }

    void putInto(QProcess::CreateProcessArguments& arguments)
    {
        m_info.StartupInfo = *arguments.startupInfo;
        m_info.StartupInfo.cb = sizeof(m_info);
        arguments.startupInfo = &m_info.StartupInfo;
        arguments.flags |= EXTENDED_STARTUPINFO_PRESENT;
    }

private:
    HANDLE m_job; ///< The attribute list keeps this member's address.
    std::vector<std::byte> m_storage;
    STARTUPINFOEXW m_info{};
    bool m_usable = false;
};

} // namespace

struct ProcessTree::Private {
    OwnedHandle job;   ///< Its last handle: closing it ends what is in it, until release.
    OwnedHandle child; ///< For ending it alone, where there is no job.
    std::unique_ptr<JobStartupInfo> startupInfo;
};

ProcessTree::ProcessTree() : d(std::make_unique<Private>()) { }

ProcessTree::~ProcessTree()
{
    killAll();
}

void ProcessTree::prepare(QProcess& process)
{
    d->job.reset(CreateJobObjectW(nullptr, nullptr));
    if (d->job && setJobLimits(d->job.get(), JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE))
        d->startupInfo = std::make_unique<JobStartupInfo>(d->job.get());
    if (!d->startupInfo || !d->startupInfo->isUsable()) {
        d->startupInfo.reset();
        d->job.reset();
        return;
    }
    process.setCreateProcessArgumentsModifier(
        [info = d->startupInfo.get()](QProcess::CreateProcessArguments* arguments) { info->putInto(*arguments); });
}

void ProcessTree::adopt(QProcess& process)
{
    // The start is over, and startupInfo needn't live as long as the process object.
    process.setCreateProcessArgumentsModifier({});
    d->startupInfo.reset();
    if (!d->job)
        d->child.reset(OpenProcess(PROCESS_TERMINATE, FALSE, static_cast<DWORD>(process.processId())));
}

void ProcessTree::killAll()
{
    if (d->job)
        TerminateJobObject(d->job.get(), 1);
    if (d->child)
        TerminateProcess(d->child.get(), 1);
}

int ProcessTree::exitCode(const QProcess& process) const
{
    return process.exitCode();
}

void ProcessTree::release()
{
    d->child.reset();
    if (!d->job)
        return;
    // Surviving processes stay in the job. A restarted shell must be free to start programs outside it, as it could before.
    setJobLimits(d->job.get(), JOB_OBJECT_LIMIT_SILENT_BREAKAWAY_OK);
    d->job.reset();
}

} // namespace torvelane::platform

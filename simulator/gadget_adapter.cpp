#include "simulator/gadget_adapter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

namespace Vantor::simulator {

namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;

std::int64_t nowNs() {
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

/// What an opener gets while the gadget is being unbound.
bool meansNoDevice(int problem) {
    return problem == ENOENT || problem == ENXIO || problem == ENODEV;
}

} // namespace

GadgetAdapter::Descriptor::~Descriptor() {
    close();
}

void GadgetAdapter::Descriptor::close() noexcept {
    if (isOpen())
        ::close(std::exchange(number, -1));
}

GadgetAdapter::GadgetAdapter(std::string devicePath) : path(std::move(devicePath)), ring(kCapturedReports) {
    const std::size_t slash = path.rfind('/');
    directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    nodeName = slash == std::string::npos ? path : path.substr(slash + 1);
    wake.number = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

GadgetAdapter::~GadgetAdapter() = default;

void GadgetAdapter::stop() noexcept {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wake.number, &one, sizeof one);
}

bool GadgetAdapter::serve() {
    if (!wake.isOpen())
        return fail("cannot make an event");
    if (!watchDirectory() || !attach())
        return false;
    do
        exchange();
    while (waitForWork() && followNode());
    detach();
    return error.empty();
}

// ---- The node comes and goes with the gadget's being bound ----

bool GadgetAdapter::watchDirectory() {
    watch.close();
    watch.number = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (!watch.isOpen() || inotify_add_watch(watch.number, directory.c_str(), IN_CREATE | IN_DELETE) < 0)
        return fail("cannot watch " + directory);
    return true;
}

/// True also when there is no node: it may come later.
bool GadgetAdapter::attach() {
    node.close();
    node.number = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (!node.isOpen())
        return meansNoDevice(errno) || fail("cannot open " + path);
    const std::lock_guard lock(mutex);
    attached = true;
    changed.notify_all();
    return true;
}

void GadgetAdapter::detach() {
    node.close();
    outgoingWaits = false;
    const std::lock_guard lock(mutex);
    if (std::exchange(attached, false))
        servedModel.powerOff();
    changed.notify_all();
}

bool GadgetAdapter::followNode() {
    alignas(inotify_event) std::array<char, 4096> events;
    for (;;) {
        const ssize_t bytes = read(watch.number, events.data(), events.size());
        if (bytes < 0)
            return errno == EAGAIN || errno == EINTR || fail("cannot read the changes in " + directory);
        for (ssize_t at = 0; at < bytes;) {
            inotify_event event{};
            std::memcpy(&event, events.data() + at, sizeof event);
            const char* const name = events.data() + at + sizeof event;
            at += static_cast<ssize_t>(sizeof event + event.len);
            if (event.len == 0 || nodeName != name)
                continue;
            if ((event.mask & IN_DELETE) != 0)
                detach();
            else if (!node.isOpen() && !attach())
                return false;
        }
    }
}

// ---- Reports ----

void GadgetAdapter::exchange() {
    if (node.isOpen() && (!readReports() || !writeReports()))
        detach(); // being unbound; the node's end follows
}

bool GadgetAdapter::readReports() {
    for (;;) {
        std::array<std::uint8_t, kReportBytes> report;
        const ssize_t bytes = read(node.number, report.data(), report.size());
        const std::int64_t now = nowNs();
        if (bytes <= 0)
            return bytes < 0 && (errno == EAGAIN || errno == EINTR);
        const std::lock_guard lock(mutex);
        servedModel.receive(std::span(report).first(static_cast<std::size_t>(bytes)), now);
        ring[received++ % ring.size()] = report;
        changed.notify_all();
    }
}

bool GadgetAdapter::writeReports() {
    for (;;) {
        if (!outgoingWaits) {
            const std::lock_guard lock(mutex);
            outgoingWaits = servedModel.nextInputReport(nowNs(), outgoing);
            changed.notify_all();
        }
        if (!outgoingWaits)
            return true;
        if (write(node.number, outgoing.data(), outgoing.size()) < 0)
            return errno == EAGAIN || errno == EINTR;
        outgoingWaits = false;
    }
}

/// Until the bus, the model's clock, the directory or stop() has something to do. False: serve() is to end.
bool GadgetAdapter::waitForWork() {
    std::int64_t due = AdapterModel::kNeverNs;
    if (node.isOpen() && !outgoingWaits)
        due = inspect([](const AdapterModel& adapter) { return adapter.nextDueNs(); });
    timespec timeout{};
    if (due != AdapterModel::kNeverNs) {
        const std::int64_t wait = due <= 0 ? 0 : std::max<std::int64_t>(0, due - nowNs());
        timeout = {.tv_sec = wait / kNsPerSecond, .tv_nsec = wait % kNsPerSecond};
    }
    const auto wanted = static_cast<short>(outgoingWaits ? POLLIN | POLLOUT : POLLIN);
    // A negative descriptor is passed over.
    std::array<pollfd, 3> sources{
        {{node.number, wanted, 0}, {watch.number, POLLIN, 0}, {wake.number, POLLIN, 0}}};
    const int ready =
        ppoll(sources.data(), sources.size(), due == AdapterModel::kNeverNs ? nullptr : &timeout, nullptr);
    if (ready < 0 && errno != EINTR)
        return fail("cannot wait for the bus");
    return ready <= 0 || sources[2].revents == 0;
}

// ---- For other threads ----

bool GadgetAdapter::isAttached() const {
    const std::lock_guard lock(mutex);
    return attached;
}

bool GadgetAdapter::waitForAttachment(bool wanted, std::chrono::milliseconds limit) const {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, limit, [&] { return attached == wanted; });
}

void GadgetAdapter::setStreamRates(unsigned inputHz, unsigned reportHz) {
    const std::lock_guard lock(mutex);
    servedModel.setStreamRates(inputHz, reportHz, nowNs());
}

std::vector<Report> GadgetAdapter::captured() const {
    const std::lock_guard lock(mutex);
    std::vector<Report> reports;
    const std::uint64_t first = received > ring.size() ? received - ring.size() : 0;
    reports.reserve(static_cast<std::size_t>(received - first));
    for (std::uint64_t index = first; index < received; ++index)
        reports.push_back(ring[index % ring.size()]);
    return reports;
}

bool GadgetAdapter::fail(std::string_view what) {
    const int problem = errno;
    error = std::string(what) + ": " + std::strerror(problem);
    return false;
}

} // namespace Vantor::simulator

#include <curl/curl.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <span>
#include <utility>

#include "linux/foundation/AtomicFile.h"
#include "linux/remote/RemoteModule.h"

namespace tessaly {
namespace {

using namespace std::chrono_literals;
using Kind = DownloadFault::Kind;
using SteadyClock = std::chrono::steady_clock;

constexpr auto kTurn = 50ms;        // How often progress is told, and so how soon a cancellation is noticed.
constexpr long kConnectLimit = 10;  // Seconds.
constexpr long kRedirects = 5;
constexpr long kBufferSize = 128 * 1024;
constexpr long kIdleConnections = 2;

template <auto cleanup>
struct Cleanup {
    template <typename T>
    void operator()(T* handle) const {
        cleanup(handle);
    }
};
using Easy = std::unique_ptr<CURL, Cleanup<&curl_easy_cleanup>>;
using Multi = std::unique_ptr<CURLM, Cleanup<&curl_multi_cleanup>>;
using Address = std::unique_ptr<CURLU, Cleanup<&curl_url_cleanup>>;
using CurlText = std::unique_ptr<char, Cleanup<&curl_free>>;
using Lines = std::unique_ptr<curl_slist, Cleanup<&curl_slist_free_all>>;

void initializeOnce() {
    static const CURLcode initialized = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(initialized);
}

/// What runs a transfer, and keeps its connection for the thread's next one: a folder of small photos is otherwise
/// spent on handshakes. Taken away while in use, so that a progress function may download, too.
class Runner {
public:
    Runner() : multi_(std::move(idle())) {
        if (!multi_) multi_.reset(curl_multi_init());
        curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, kIdleConnections);
    }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;
    ~Runner() { idle() = std::move(multi_); }

    [[nodiscard]] CURLM* get() const { return multi_.get(); }

private:
    static Multi& idle() {
        thread_local Multi multi;
        return multi;
    }
    Multi multi_;
};

std::string part(CURLU* address, CURLUPart which) {
    char* text = nullptr;
    if (curl_url_get(address, which, &text, 0) != CURLUE_OK) return {};
    return CurlText(text).get();
}

std::string withoutUser(const char* url) {
    const Address address(curl_url());
    if (curl_url_set(address.get(), CURLUPART_URL, url, 0) != CURLUE_OK) return {};
    curl_url_set(address.get(), CURLUPART_USER, nullptr, 0);
    curl_url_set(address.get(), CURLUPART_PASSWORD, nullptr, 0);
    return part(address.get(), CURLUPART_URL);
}

/// Where the bytes go. Returns false, with errno, when it cannot take them.
using Sink = std::function<bool(std::span<const std::byte>)>;

class Transfer {
public:
    Transfer(const DownloadRequest& request, std::uint64_t limit, Sink sink)
        : request_(request), limit_(std::min(limit, request.expectedSize.value_or(limit))), sink_(std::move(sink)) {}

    DownloadFault run();

private:
    bool prepare();
    void prepareMethod();
    void perform();
    void conclude(CURLcode result);
    bool take(std::span<const std::byte> bytes);
    bool continues();
    bool fail(Kind kind, int error = 0);
    void close(CURLM* multi);

    [[nodiscard]] long status() const;
    [[nodiscard]] bool isSuccess(long status) const;
    [[nodiscard]] curl_off_t number(CURLINFO which) const;

    static std::size_t receiveBody(char* data, std::size_t size, std::size_t count, void* transfer);
    static std::size_t receiveHeader(char* data, std::size_t size, std::size_t count, void* transfer);

    const DownloadRequest& request_;
    std::uint64_t limit_;
    Sink sink_;
    Lines headers_;  // Outlives what uses it.
    Easy easy_;
    DownloadFault fault_;
    std::uint64_t received_ = 0;
    double told_ = 0;
    SteadyClock::time_point lastByte_ = SteadyClock::now();
    SteadyClock::time_point lastTold_{};
};

DownloadFault Transfer::run() {
    if (prepare()) perform();
    if (fault_) fault_.status = easy_ ? status() : 0;
    return fault_;
}

bool Transfer::prepare() {
    initializeOnce();
    const Address address(curl_url());
    // What people type has spaces and accents in it.
    if (curl_url_set(address.get(), CURLUPART_URL, request_.url.c_str(), CURLU_URLENCODE) != CURLUE_OK)
        return fail(Kind::badAddress);
    const std::string scheme = part(address.get(), CURLUPART_SCHEME);
    if (scheme != "http" && scheme != "https") return fail(Kind::badAddress);

    easy_.reset(curl_easy_init());
    CURL* easy = easy_.get();
    if (!easy) return fail(Kind::cannotWrite, ENOMEM);
    curl_easy_setopt(easy, CURLOPT_URL, part(address.get(), CURLUPART_URL).c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // A server must not lead us to local files, nor from an encrypted connection to a plain one.
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, scheme == "https" ? "https" : "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kRedirects);
    curl_easy_setopt(easy, CURLOPT_HTTPAUTH, CURLAUTH_BASIC | CURLAUTH_DIGEST);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "tessaly");
    curl_easy_setopt(easy, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kConnectLimit);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, kBufferSize);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::receiveBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::receiveHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    prepareMethod();
    return true;
}

void Transfer::prepareMethod() {
    CURL* easy = easy_.get();
    if (request_.method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    } else if (request_.method != "GET") {
        if (!request_.body.empty()) {
            curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
            curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request_.body.c_str());
            curl_easy_setopt(easy, CURLOPT_POSTREDIR, CURL_REDIR_POST_ALL);
        }
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request_.method.c_str());
    }
    for (const std::string& header : request_.headers)
        if (curl_slist* longer = curl_slist_append(headers_.get(), header.c_str())) {
            static_cast<void>(headers_.release());
            headers_.reset(longer);
        }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get());
}

/// The simple way to run a transfer looks up only once a second while nothing comes; a cancellation cannot wait that
/// long.
void Transfer::perform() {
    const Runner runner;
    CURLM* multi = runner.get();
    if (curl_multi_add_handle(multi, easy_.get()) != CURLM_OK) {
        fail(Kind::cannotWrite, ENOMEM);
        return;
    }
    // Looks for bytes before it looks at the clock: whoever was stopped for a while does not blame the server.
    for (int running = 1;;) {
        if (curl_multi_perform(multi, &running) != CURLM_OK) fail(Kind::interrupted);
        if (running == 0 || !continues()) break;
        curl_multi_poll(multi, nullptr, 0, static_cast<int>(kTurn.count()), nullptr);
    }
    int left = 0;
    const CURLMsg* message = curl_multi_info_read(multi, &left);
    if (!fault_) conclude(message ? message->data.result : CURLE_RECV_ERROR);
    close(multi);
}

void Transfer::close(CURLM* multi) {
    // Whoever gives up does not wait for a name server that does not answer.
    if (fault_) curl_easy_setopt(easy_.get(), CURLOPT_QUICK_EXIT, 1L);
    curl_multi_remove_handle(multi, easy_.get());
}

Kind kindOf(CURLcode result, long status, bool isSuccess) {
    const bool isRedirect = status / 100 == 3;
    switch (result) {
        case CURLE_OK:
            return isSuccess ? Kind::none : Kind::refused;
        case CURLE_URL_MALFORMAT:
            return isRedirect ? Kind::refused : Kind::badAddress;
        case CURLE_UNSUPPORTED_PROTOCOL:  // Our own scheme is known to be right: a redirect, or no HTTP at all.
            return isRedirect ? Kind::insecure : Kind::refused;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_CONNECT:
        case CURLE_OPERATION_TIMEDOUT:  // Only connecting has a limit there.
            return Kind::unreachable;
        case CURLE_HTTP_RETURNED_ERROR:
            return status == 404 || status == 410 ? Kind::notFound : Kind::refused;
        case CURLE_TOO_MANY_REDIRECTS:
        case CURLE_WEIRD_SERVER_REPLY:
            return Kind::refused;
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_INVALIDCERTSTATUS:
            return Kind::insecure;
        default:
            return Kind::interrupted;
    }
}

void Transfer::conclude(CURLcode result) {
    if (const Kind kind = kindOf(result, status(), isSuccess(status())); kind != Kind::none) {
        fail(kind);
        return;
    }
    // A server that announces no size has not proved that it is the right one.
    const curl_off_t size =
        request_.method == "HEAD" ? number(CURLINFO_CONTENT_LENGTH_DOWNLOAD_T) : static_cast<curl_off_t>(received_);
    if (request_.expectedSize && (size < 0 || static_cast<std::uint64_t>(size) != *request_.expectedSize)) {
        fail(Kind::wrongLength);
        return;
    }
    const char* url = nullptr;
    if (request_.finalURL && curl_easy_getinfo(easy_.get(), CURLINFO_EFFECTIVE_URL, &url) == CURLE_OK && url)
        *request_.finalURL = withoutUser(url);
}

bool Transfer::isSuccess(long status) const {
    return request_.method == "PROPFIND" ? status == 207 : status == 200 || status == 203;
}

bool Transfer::take(std::span<const std::byte> bytes) {
    const curl_off_t announced = number(CURLINFO_CONTENT_LENGTH_DOWNLOAD_T);
    // Known to be wrong at the first byte, it need not come to the last one.
    const bool isOther =
        announced >= 0 && request_.expectedSize && static_cast<std::uint64_t>(announced) != *request_.expectedSize;
    const bool isTooLong = announced >= 0 && static_cast<std::uint64_t>(announced) > limit_;
    if (isOther || isTooLong || bytes.size() > limit_ - received_) return fail(Kind::wrongLength);
    if (!sink_(bytes)) return fail(Kind::cannotWrite, errno);
    received_ += bytes.size();
    lastByte_ = SteadyClock::now();  // After writing: a slow disk is no fault of the server.
    return continues();
}

/// Tells how far it is, unless it just has, and looks whether that is of use to anyone.
bool Transfer::continues() {
    if (fault_) return false;
    const auto now = SteadyClock::now();
    if (now - lastTold_ < kTurn) return true;
    lastTold_ = now;
    if (now - lastByte_ >= request_.stallLimit) {
        const bool isConnected = number(CURLINFO_PRETRANSFER_TIME_T) > 0;
        return fail(isConnected ? Kind::stalled : Kind::unreachable);
    }
    if (!request_.progress) return true;
    const curl_off_t announced = number(CURLINFO_CONTENT_LENGTH_DOWNLOAD_T);
    const std::uint64_t total =
        request_.expectedSize.value_or(announced > 0 ? static_cast<std::uint64_t>(announced) : 0);
    if (total > 0) told_ = std::clamp(static_cast<double>(received_) / static_cast<double>(total), told_, 1.0);
    return request_.progress(told_) || fail(Kind::cancelled);
}

bool Transfer::fail(Kind kind, int error) {
    fault_.kind = kind;
    fault_.error = error;
    return false;
}

long Transfer::status() const {
    long status = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

curl_off_t Transfer::number(CURLINFO which) const {
    curl_off_t value = -1;
    curl_easy_getinfo(easy_.get(), which, &value);
    return value;
}

std::size_t Transfer::receiveBody(char* data, std::size_t size, std::size_t count, void* transfer) {
    const auto bytes = std::as_bytes(std::span(data, size * count));
    return static_cast<Transfer*>(transfer)->take(bytes) ? bytes.size() : CURL_WRITEFUNC_ERROR;
}

std::size_t Transfer::receiveHeader(char*, std::size_t size, std::size_t count, void* transfer) {
    static_cast<Transfer*>(transfer)->lastByte_ = SteadyClock::now();
    return size * count;
}

void tellTheEnd(const DownloadRequest& request) {
    if (request.progress) static_cast<void>(request.progress(1.0));
}

}  // namespace

namespace {

DownloadFault downloadFile(const DownloadRequest& request, const std::string& path) {
    std::optional<AtomicFile> file = AtomicFile::create(path);
    if (!file) return {Kind::cannotWrite, 0, errno};
    Transfer transfer(request, UINT64_MAX, [&file](std::span<const std::byte> bytes) { return file->write(bytes); });
    if (const DownloadFault fault = transfer.run()) return fault;
    if (!file->commit(AtomicFile::Existing::replaced)) return {Kind::cannotWrite, 0, errno};
    tellTheEnd(request);
    return {};
}

DownloadFault downloadBytes(const DownloadRequest& request, std::size_t limit, std::vector<std::byte>& content) {
    content.clear();
    // A size may be a server's invention: no more is set aside than has arrived.
    const auto append = [&](std::span<const std::byte> bytes) {
        content.insert(content.end(), bytes.begin(), bytes.end());
        return true;
    };
    const DownloadFault fault = Transfer(request, limit, append).run();
    if (fault) {
        content.clear();
        return fault;
    }
    tellTheEnd(request);
    return {};
}

}  // namespace
}  // namespace tessaly

extern "C" __attribute__((visibility("default"))) const tessaly::RemoteModule tessaly_remote{
    .download = tessaly::downloadFile,
    .downloadToMemory = tessaly::downloadBytes,
};

// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace KxC::Testing {

/// A request as it came in.
struct LoopbackRequest
{
    std::string target; ///< path and query
    std::string head;   ///< request line and header lines, each with its line end
    /// Value of a header without regard to case, empty when it is not there.
    std::string Header(std::string_view name) const;
    bool HasHeader(std::string_view name) const;
};

/// The server's end of a connection, handed to a route for one request.
class LoopbackConnection
{
public:
    explicit LoopbackConnection(int socket) : m_socket(socket) {}

    /// Sends exactly these bytes. @return false when the client is gone
    bool Send(std::string_view bytes);
    /// Ends the connection in good order after what was sent.
    void Close();
    /// Ends it with a reset: the client's next read fails.
    void Reset();
    /// Waits until the client or the server's destructor ends the connection.
    void WaitForEnd();
    bool IsOpen() const { return m_isOpen; }
    /// For routes that go on with another protocol; the connection keeps the socket.
    int Socket() const { return m_socket; }

private:
    int m_socket;
    bool m_isOpen = true;
};

/// A door that a test opens for the routes that wait before it. The server's destructor opens all.
class Gate
{
public:
    void Open();
    void Wait();

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

/// What the server does with a request. Leaves the connection open to keep it alive.
using Route = std::function<void(LoopbackConnection&, const LoopbackRequest&)>;

/// An HTTP/1.1 server on 127.0.0.1 with a port chosen by the system, for the situations that a
/// client must survive. It sends what its routes send, right or wrong. Paths without a route answer
/// 404. The destructor ends all connections and threads.
/// Threads: each connection runs its routes on a thread of its own; set routes before requests.
class LoopbackServer
{
public:
    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// @param path  without query; "/a/" with a slash at its end also serves what lies below
    void On(const std::string& path, Route route);
    /// "http://127.0.0.1:port" and the path.
    std::string Url(std::string_view path) const;
    int Port() const { return m_port; }

    int ConnectionCount() const { return m_connectionCount; }
    int RequestCount() const;
    /// Waits until as many requests have come in.
    void WaitForRequests(int count);
    /// Every request so far, in order of arrival.
    std::vector<LoopbackRequest> Requests() const;
    /// A door that lives as long as the server.
    Gate& MakeGate();

private:
    struct Client
    {
        int socket; ///< -1 once closed
        std::thread thread;
    };
    void Accept();
    void Start(int socket);
    void Serve(int socket);
    void Finish(int socket);
    void Record(const LoopbackRequest& request);
    Route RouteFor(const std::string& target) const;

    int m_listener = -1;
    int m_port = 0;
    std::atomic<int> m_connectionCount{0};
    mutable std::mutex m_lock; ///< guards everything below
    std::condition_variable m_requested;
    bool m_isStopping = false;
    std::map<std::string, Route> m_routes;
    std::vector<LoopbackRequest> m_requests;
    std::list<Client> m_clients;
    std::list<Gate> m_gates;
    std::thread m_acceptor; ///< last: it uses all of the above
};

/// A whole answer: "HTTP/1.1 <status> ...", the given header lines, Content-Length, body.
/// @param lines  each with its line end "\r\n"
std::string AnswerText(int status, std::string_view body, std::string_view lines = {});

/// The route that always gives this answer and keeps the connection.
Route Answers(int status, std::string body, std::string lines = {});
/// The route that sends these bytes as they are and then closes.
Route SendsAndCloses(std::string bytes);

} // namespace KxC::Testing

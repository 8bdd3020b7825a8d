// Handshakes with certificates of both sides, and requests on a connection that is kept.
#include <filesystem>
#include <stdexcept>

#include "Benchmarks.h"
#include "ChildServer.h"
#include "DigestCaller.h"
#include "Documents.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TlsSocket.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPath = "/com.tessel.lum.conf.core/voxrpcserver";

const char* const kListCall =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">"
    "<s:Body><m:list xmlns:m=\"urn:lum:conf\"><PolicySelection><selection>8</selection><name></name></PolicySelection>"
    "</m:list></s:Body></s:Envelope>";

std::string Tool(const char* name) {
    return (fs::read_symlink("/proc/self/exe").parent_path() / "../tools" / name).string();
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Makes the root of a node whose port is known.
struct Port {
    const unsigned number = FreePort();
    Port() {
        Configure("vox.http.ext.conf", "SERVER_PORT", std::to_string(number));
        Configure("conf.server", "AUDIT_LOGGING", "true");
        Configure("conf.server", "AUDIT_LOG_MODE", "all");
    }
};

/// A daemon; its root is the present one when it is made.
class Daemon {
public:
    Daemon() : server({Tool("lumconfd")}, {{"LUM_ROOT", root.Native()}}, root.Native() + "/said", port.number) {}
    unsigned GetPort() const { return port.number; }
    const std::string& Root() const { return root.Native(); }

protected:
    /// @param prepare  fills the root before the daemon starts
    template <class Prepare>
    explicit Daemon(const Prepare& prepare)
        : prepared((prepare(), true)),
          server({Tool("lumconfd")}, {{"LUM_ROOT", root.Native()}}, root.Native() + "/said", port.number) {}

private:
    TempRoot root;
    Port port;
    const bool prepared = false;
    ChildServer server;
};

/// A daemon with a certificate, and an operator who may list.
class TlsDaemon : public Daemon {
public:
    explicit TlsDaemon(const TestAuthority& authority) : Daemon([&authority] { Prepare(authority); }) {}
    std::string File(const char* name) const { return Root() + "/etc/keystore/" + name; }
    TlsClient Operator() const {
        return {File("own/operator.pem"), File("own/operator.key"), File("trusted/authority.pem")};
    }

private:
    static void Prepare(const TestAuthority& authority) {
        InstallTrust("authority", authority.Certificate());
        InstallIdentity("node", authority.Issue("node", "DNS:localhost,IP:127.0.0.1"));
        const TestIdentity identity = authority.Issue("operator", "");
        WriteKeyStore("own/operator.pem", identity.certificate);
        WriteKeyStore("own/operator.key", identity.key);
        WriteFile(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc).ToUtf8() + "authorization.ini",
                  "[conf]\noperator=list\n");
    }
};

/// The crypto library's own server with the same certificates.
class PlainTlsServer {
public:
    explicit PlainTlsServer(const TlsDaemon& daemon)
        : server({"openssl", "s_server", "-accept", "127.0.0.1:" + std::to_string(port), "-cert",
                  daemon.File("own/node.pem"), "-key", daemon.File("own/node.key"), "-CAfile",
                  daemon.File("trusted/authority.pem"), "-Verify", "1", "-verify_return_error", "-www", "-quiet",
                  "-no_ticket", "-num_tickets", "0", "-no_cache"},
                 {}, daemon.Root() + "/s_server.said", port) {}
    unsigned GetPort() const { return port; }

private:
    const unsigned port = FreePort();
    ChildServer server;
};

/// Seconds of one handshake and farewell.
double Handshake(const TlsClient& client, unsigned port, int rounds) {
    return Seconds([&] {
               for (int i = 0; i < rounds; ++i) TlsSocket(client, port).Leave();
           }) /
           rounds;
}

/// Seconds of one call on a connection that is there. @param fields  of each request
template <class Connection>
double Call(Connection& connection, const std::string& fields, int rounds) {
    const std::string request = PostOf(kPath, kListCall, fields);
    return Seconds([&] {
               for (int i = 0; i < rounds; ++i) {
                   if (connection.Exchange(request).status != 200) throw std::runtime_error("a call was refused");
               }
           }) /
           rounds;
}

void MeasureHandshakes(Session& session, const TlsDaemon& daemon) {
    const PlainTlsServer reference(daemon);
    const TlsClient client = daemon.Operator();
    const int rounds = session.Choose(10, 2);
    const Pairs pairs = RunPairs(
        session.Choose(301, 1), [&] { return Handshake(client, daemon.GetPort(), rounds); },
        [&] { return Handshake(client, reference.GetPort(), rounds); });
    session.Add({"handshake with both certificates", pairs.Ratios(), 1.25, Times(pairs)});
}

/// Of a daemon without a certificate. Its port opens before it is drawn, but nothing is answered until then.
std::string SecretOf(const Daemon& daemon) {
    RawHttp(daemon.GetPort()).Exchange(PostOf(kPath, ""));
    return ReadFile(daemon.Root() + "/etc/local.secret");
}

void MeasureCalls(Session& session, const TlsDaemon& daemon) {
    const Daemon plain;
    RawHttp open(plain.GetPort());
    RawHttpOver<TlsSocket> closed(daemon.Operator(), daemon.GetPort());
    const std::string secret = "Authorization: LumLocal " + SecretOf(plain) + "\r\n";
    const int rounds = session.Choose(30, 2);
    const Pairs pairs = RunPairs(
        session.Choose(301, 1), [&] { return Call(closed, "", rounds); }, [&] { return Call(open, secret, rounds); });
    session.Add({"call on a kept TLS connection", pairs.Ratios(), 1 / 0.6, Times(pairs)});
}

/// A caller who proves the secret on a kept connection needs no second round trip for a call.
void MeasureDigest(Session& session) {
    const Daemon daemon;
    const std::string secret = SecretOf(daemon);
    RawHttp plain(daemon.GetPort());
    DigestCaller caller(daemon.GetPort(), kPath, secret);
    const std::string shown = "Authorization: LumLocal " + secret + "\r\n";
    const int rounds = session.Choose(30, 2);
    const auto prove = [&] {
        double seconds = 0;
        for (int i = 0; i < rounds; ++i) seconds += Seconds([&] { Call(caller.Connection(), caller.NextField(), 1); });
        return seconds / rounds;
    };
    const Pairs pairs = RunPairs(session.Choose(301, 1), prove, [&] { return Call(plain, shown, rounds); });
    session.Add({"call that proves the secret", pairs.Ratios(), 1.5, Times(pairs)});
}

}  // namespace

void MeasureTls(Session& session) {
    const TestAuthority authority("authority");
    const TlsDaemon daemon(authority);
    MeasureHandshakes(session, daemon);
    MeasureCalls(session, daemon);
    MeasureDigest(session);
}

}  // namespace bench

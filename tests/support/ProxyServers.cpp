#include "tests/support/ProxyServers.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/FreePort.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {
namespace {

struct Launch {
    std::string program;
    std::vector<std::string> arguments;
    std::vector<std::string> environment;
};
/// Writes a proxy's configuration into the folder and says how to start it on the port.
using Prepare = std::function<Launch(const TempDir& folder, const std::string& port)>;

class RunningProxy : public ProxyServer {
  public:
    explicit RunningProxy(const Prepare& prepare) : port_(FreePort()) {
        // A proxy gives up root for a user of its own and then writes to its folder.
        std::filesystem::permissions(folder_.Path(), std::filesystem::perms::all);
        const Launch launch = prepare(folder_, std::to_string(port_));
        ChildProcess::Options options;
        options.workingDirectory = folder_.Path().string();
        options.environment = launch.environment;
        process_ = std::make_unique<ChildProcess>(launch.program, launch.arguments, options);
    }
    std::uint16_t Port() const override { return port_; }

    /// False when the proxy has ended, because another program took the port.
    bool AwaitReady() {
        return process_->WaitUntil([this] { return process_->Running() && Listens(port_); });
    }
    std::string Report() const { return process_->Output() + process_->Errors(); }

  private:
    TempDir folder_;
    std::uint16_t port_;
    std::unique_ptr<ChildProcess> process_;
};

std::unique_ptr<ProxyServer> Start(const Prepare& prepare) {
    std::string report;
    for (int attempt = 0; attempt < 3; ++attempt) {
        auto proxy = std::make_unique<RunningProxy>(prepare);
        if (proxy->AwaitReady()) {
            return proxy;
        }
        report = proxy->Report();
    }
    throw std::runtime_error("the proxy does not start: " + report);
}

}  // namespace

std::unique_ptr<ProxyServer> StartTinyproxy(ProxyAccess access) {
    return Start([access](const TempDir& folder, const std::string& port) {
        std::string config = "Listen 127.0.0.1\nAllow 127.0.0.1\nPort " + port + "\n";
        if (access == ProxyAccess::Password) {
            config += std::string("BasicAuth ") + kProxyUser + " " + kProxyPassword + "\n";
        }
        WriteFile(folder.File("tinyproxy.conf"), config);
        return Launch{"tinyproxy", {"-d", "-c", folder.File("tinyproxy.conf")}, {}};
    });
}

std::unique_ptr<ProxyServer> StartSquid(ProxyAccess access) {
    return Start([access](const TempDir& folder, const std::string& port) {
        const std::string path = folder.Path().string();
        std::string config = "http_port 127.0.0.1:" + port + "\npid_filename " + path +
                             "/pid\ncache_log " + path + "/cache.log\ncoredump_dir " + path +
                             "\naccess_log none\ncache deny all\npinger_enable off\n"
                             "netdb_filename none\nvisible_hostname localhost\n"
                             "shutdown_lifetime 0 seconds\n";
        if (access == ProxyAccess::Password) {
            // The hash is kProxyPassword's.
            WriteFile(folder.File("users"),
                      std::string(kProxyUser) + ":$apr1$2BS2anMK$9Eno5sSJl7Rhvhivvve28.\n");
            config += "auth_param basic program /usr/lib/squid/basic_ncsa_auth " + path +
                      "/users\nacl known proxy_auth REQUIRED\nhttp_access allow known\n";
        } else {
            config += "http_access allow localhost\n";
        }
        WriteFile(folder.File("squid.conf"), config + "http_access deny all\n");
        return Launch{"/usr/sbin/squid", {"-N", "-f", folder.File("squid.conf")}, {}};
    });
}

std::unique_ptr<ProxyServer> StartDante(ProxyAccess access) {
    return Start([access](const TempDir& folder, const std::string& port) {
        const bool password = access == ProxyAccess::Password;
        WriteFile(folder.File("danted.conf"),
                  "logoutput: stderr\ninternal: 127.0.0.1 port = " + port +
                      "\nexternal: lo\nclientmethod: none\nsocksmethod: " +
                      (password ? "username" : "none") +
                      "\nclient pass { from: 127.0.0.0/8 to: 0.0.0.0/0 }\n"
                      "socks pass { from: 127.0.0.0/8 to: 127.0.0.0/8 protocol: tcp }\n");
        Launch launch{
            "/usr/sbin/danted", {"-f", folder.File("danted.conf"), "-p", folder.File("pid")}, {}};
        if (password) {
            // Dante asks the system for its users: here libnss_wrapper answers from these files.
            const std::string user = kProxyUser;
            WriteFile(folder.File("passwd"),
                      "root:x:0:0::/:\n" + user + ":x:20001:20001::/:/bin/false\n");
            WriteFile(folder.File("shadow"),
                      user +
                          ":$6$qxdbproxytest$JpzZlcKRhZsIvYthyaP8akXwULsi60vLzZtfFdH2MU.sYZNGpo2b"
                          "FYIJgrddt2eCCthv/27d7kbCIAxmCKQiE/:19000:0:99999:7:::\n");
            WriteFile(folder.File("group"), "root:x:0:\n");
            launch.environment = {"LD_PRELOAD=libnss_wrapper.so",
                                  "NSS_WRAPPER_PASSWD=" + folder.File("passwd"),
                                  "NSS_WRAPPER_SHADOW=" + folder.File("shadow"),
                                  "NSS_WRAPPER_GROUP=" + folder.File("group")};
        }
        return launch;
    });
}

std::unique_ptr<ProxyServer> StartMicrosocks(ProxyAccess access) {
    return Start([access](const TempDir& /*folder*/, const std::string& port) {
        Launch launch{"microsocks", {"-i", "127.0.0.1", "-p", port}, {}};
        if (access == ProxyAccess::Password) {
            launch.arguments.insert(launch.arguments.end(),
                                    {"-u", kProxyUser, "-P", kProxyPassword});
        }
        return launch;
    });
}

}  // namespace qxdb_test

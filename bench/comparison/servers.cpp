#include "servers.h"

#include <unistd.h>

namespace qxdb_bench {
namespace {

using qxdb_test::RunToSuccess;
using Words = std::vector<std::string>;

Words PostgreSqlArguments(const Certificate& certificate) {
    return {"-c", "ssl=on",
            "-c", "ssl_cert_file=" + certificate.CertificateFile(),
            "-c", "ssl_key_file=" + certificate.KeyFile()};
}

Words MariaDbArguments(const Certificate& certificate) {
    return {"--ssl-cert=" + certificate.CertificateFile(), "--ssl-key=" + certificate.KeyFile(),
            "--innodb-buffer-pool-size=256M", "--innodb-log-file-size=128M"};
}

}  // namespace

Certificate::Certificate() {
    RunToSuccess({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                  "/CN=127.0.0.1", "-keyout", KeyFile(), "-out", CertificateFile()});
    RunToSuccess({"chmod", "600", KeyFile()});
    if (geteuid() == 0) {
        // PostgreSQL then runs as this user, and wants the key to be its own.
        RunToSuccess({"chown", "-R", "postgres:postgres", folder_.Path().string()});
    }
}

Servers::Servers(const std::string& qxdbserver)
    : qxdb_(qxdbserver),
      postgreSql_(PostgreSqlArguments(certificate_)),
      mariaDb_(MariaDbArguments(certificate_)) {}

Words Servers::QxdbWords() const {
    return {"qxdb", "127.0.0.1", std::to_string(qxdb_.Port()), qxdb_test::QxdbServer::kUser,
            qxdb_test::QxdbServer::kPassword};
}
Words Servers::QxdbSqliteWords() const {
    return {"qxdb-sqlite", folder_.File("sqlite.db")};
}
Words Servers::QxdbPostgreSqlWords() const {
    Words words = PostgreSqlWords(false);
    words[0] = "qxdb-postgresql";
    return words;
}
Words Servers::PostgreSqlWords(bool tls) const {
    return {"postgresql",
            std::to_string(postgreSql_.Port()),
            qxdb_test::PostgresServer::User(),
            qxdb_test::PostgresServer::Password(),
            qxdb_test::PostgresServer::Database(),
            tls ? "require" : "disable"};
}
Words Servers::MariaDbWords(bool tls) const {
    return {"mariadb",
            std::to_string(mariaDb_.Port()),
            qxdb_test::MariaDbServer::User(),
            qxdb_test::MariaDbServer::Password(),
            qxdb_test::MariaDbServer::Database(),
            tls ? "tls" : "plain"};
}
Words Servers::FirebirdWords() const {
    return {"firebird", std::to_string(firebird_.Port()), FirebirdServer::User(),
            FirebirdServer::Password(), FirebirdServer::Database()};
}
Words Servers::SqliteWords() const {
    return {"sqlite", folder_.File("sqlite.db")};
}

}  // namespace qxdb_bench

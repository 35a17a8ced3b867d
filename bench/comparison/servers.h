// All the servers of the comparison, and the sides that work with them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FirebirdServer.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"
#include "tests/support/QxdbServer.h"
#include "tests/support/TempDir.h"

namespace qxdb_bench {

/// A certificate of its own signature for 127.0.0.1, made by the openssl program.
class Certificate {
  public:
    Certificate();
    std::string CertificateFile() const { return folder_.File("certificate.pem"); }
    std::string KeyFile() const { return folder_.File("key.pem"); }

  private:
    qxdb_test::TempDir folder_;
};

class Servers {
  public:
    explicit Servers(const std::string& qxdbserver);

    const qxdb_test::QxdbServer& Qxdb() const noexcept { return qxdb_; }

    // The words for MakeSide.
    std::vector<std::string> QxdbWords() const;
    std::vector<std::string> QxdbSqliteWords() const;
    std::vector<std::string> QxdbPostgreSqlWords() const;
    std::vector<std::string> PostgreSqlWords(bool tls) const;
    std::vector<std::string> MariaDbWords(bool tls) const;
    std::vector<std::string> FirebirdWords() const;
    std::vector<std::string> SqliteWords() const;

  private:
    qxdb_test::TempDir folder_;
    Certificate certificate_;
    qxdb_test::QxdbServer qxdb_;
    qxdb_test::PostgresServer postgreSql_;
    qxdb_test::MariaDbServer mariaDb_;
    FirebirdServer firebird_;
};

}  // namespace qxdb_bench

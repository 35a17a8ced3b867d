// A music store's database, loaded by qxdb from the scripts that others wrote for three databases:
// the same queries give the same rows on each.
#include <algorithm>
#include <cstdlib>
#include <regex>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/cli/qxdb_program.h"
#include "tests/support/DatabaseUrl.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"

namespace {

using namespace qxdb_test;

/// Names are written as in the scripts for SQLite and MySQL. What differs by design is evened out
/// as a user would: SQLite adds up decimals as doubles, so sums are rounded to cents, and
/// PostgreSQL takes N'...' for a text of fixed length, whose trailing blanks don't count.
constexpr const char* kQueries[] = {
    // Every text of the store, in many languages, and its longest table.
    "SELECT TrackId, Name, Composer, Milliseconds, Bytes, UnitPrice FROM Track ORDER BY TrackId",
    // Nulls, counted, replaced, and missing on one side of a join.
    "SELECT CustomerId, FirstName, LastName, Company, TRIM(City), State, Fax FROM Customer "
    "WHERE Company IS NULL OR Country IN ('Brazil', 'Czech Republic', 'Germany') "
    "ORDER BY CustomerId",
    "SELECT e.LastName, e.BirthDate, e.HireDate, m.LastName, COUNT(c.CustomerId) FROM Employee e "
    "LEFT JOIN Employee m ON m.EmployeeId = e.ReportsTo "
    "LEFT JOIN Customer c ON c.SupportRepId = e.EmployeeId "
    "GROUP BY e.EmployeeId, e.LastName, e.BirthDate, e.HireDate, m.LastName "
    "ORDER BY e.HireDate, e.EmployeeId",
    // Joins and aggregates.
    "SELECT g.Name, COUNT(*), CAST(ROUND(SUM(l.UnitPrice * l.Quantity) * 100) AS DECIMAL) AS "
    "Cents, "
    "MIN(t.Milliseconds), CAST(ROUND(AVG(t.Milliseconds)) AS DECIMAL) FROM InvoiceLine l "
    "JOIN Track t ON t.TrackId = l.TrackId LEFT JOIN Genre g ON g.GenreId = t.GenreId "
    "GROUP BY g.GenreId, g.Name ORDER BY Cents DESC, g.GenreId",
    // Dates and decimals, as they are stored.
    "SELECT InvoiceId, InvoiceDate, BillingState, Total FROM Invoice "
    "WHERE InvoiceDate >= '2022-12-01' AND InvoiceDate < '2023-03-01 00:00:00' "
    "ORDER BY InvoiceDate, InvoiceId",
};

/// The name that the script for PostgreSQL uses: InvoiceLine is invoice_line.
std::string WithUnderscores(const std::string& sql) {
    return std::regex_replace(sql, std::regex("([a-z])([A-Z])"), "$1_$2");
}

struct Store {
    std::string name;
    std::string url;
    bool underscores = false;

    std::string Run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--db", url, "--format", "csv", "--no-header"});
        const Ended ended = RunQxdb(arguments);
        EXPECT_EQ(ended.status, 0) << name << ": " << ended.err;
        return ended.out;
    }
    std::string Query(const std::string& sql) const {
        return Run({"-c", underscores ? WithUnderscores(sql) : sql});
    }
};

class Chinook : public testing::Test {
  protected:
    static void SetUpTestSuite() { world_ = std::make_unique<World>(); }
    static void TearDownTestSuite() { world_.reset(); }
    static const std::vector<Store>& Stores() { return world_->stores; }

  private:
    struct World {
        World()
            : stores{{"SQLite", "sqlite:" + folder.File("chinook.db")},
                     {"PostgreSQL", DatabaseUrl("postgresql", postgres), true},
                     {"MariaDB", DatabaseUrl("mysql", maria)}} {
            stores[0].Run({"-f", Script("chinook_sqlite.sql")});
            stores[1].Run({"-f", Script("chinook_postgresql.sql")});
            // The script means its backslashes as they stand, as the others do.
            stores[2].Run({"-c", "SET sql_mode = CONCAT(@@sql_mode, ',NO_BACKSLASH_ESCAPES')", "-f",
                           Script("chinook_mysql.sql")});
            stores[1].url = DatabaseUrl("postgresql", postgres, "chinook");
            stores[2].url = DatabaseUrl("mysql", maria, "Chinook");
        }
        static std::string Script(const std::string& name) {
            const char* folder = std::getenv("QXDB_CHINOOK_DIR");
            if (folder == nullptr) {
                throw std::runtime_error("QXDB_CHINOOK_DIR doesn't name the scripts' folder");
            }
            return std::string(folder) + "/" + name;
        }

        TempDir folder;
        PostgresServer postgres;
        MariaDbServer maria;
        std::vector<Store> stores;
    };

    static std::unique_ptr<World> world_;
};

std::unique_ptr<Chinook::World> Chinook::world_;

TEST_F(Chinook, IsLoadedWhole) {
    std::string counts;
    for (const char* table : {"Album", "Artist", "Customer", "Employee", "Genre", "Invoice",
                              "InvoiceLine", "MediaType", "Playlist", "PlaylistTrack", "Track"}) {
        counts += (counts.empty() ? "SELECT COUNT(*) FROM " : " UNION ALL SELECT COUNT(*) FROM ") +
                  std::string(table);
    }
    for (const Store& store : Stores()) {
        const std::string tables = store.Run({"-c", "\\d"});
        EXPECT_EQ(std::count(tables.begin(), tables.end(), '\n'), 11) << store.name << tables;
        EXPECT_EQ(store.Query(counts),
                  "347\r\n275\r\n59\r\n8\r\n25\r\n412\r\n2240\r\n5\r\n18\r\n8715\r\n3503\r\n")
            << store.name;
        EXPECT_EQ(store.Query("SELECT CAST(ROUND(SUM(Total) * 100) AS DECIMAL) FROM Invoice"),
                  "232860\r\n")
            << store.name;
        EXPECT_EQ(store.Query("SELECT Name FROM Artist WHERE ArtistId = 106 UNION ALL "
                              "SELECT Name FROM Track WHERE TrackId = 3435"),
                  "Motörhead\r\nCavalleria Rusticana \\ Act \\ Intermezzo Sinfonico\r\n")
            << store.name;
    }
}

TEST_F(Chinook, GivesTheSameRowsEverywhere) {
    for (const char* query : kQueries) {
        const std::string expected = Stores()[0].Query(query);
        EXPECT_GT(std::count(expected.begin(), expected.end(), '\n'), 7) << query;
        for (const Store& store : Stores()) {
            EXPECT_EQ(store.Query(query), expected) << store.name << ": " << query;
        }
    }
}

}  // namespace

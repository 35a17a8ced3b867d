// What the tour does with an agent. A step that fails throws std::runtime_error with code and text.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/DBAgent.h>

namespace tour {

void Heading(const std::string& title);

/// Points the agent at an SQLite file.
void UseFile(CQXDB::DBAgent& agent, const std::string& path);
/// Runs a script's statements (each ends in ";" at the end of a line) as one transaction.
void Load(CQXDB::DBAgent& agent, const std::string& sqlFile);
/// A command, a parameterised query, a paged query, a batch and a statement that fails.
void Work(CQXDB::DBAgent& agent);

void LogIn(CQXDB::DBAgent& agent, std::uint16_t port, const CQXDB::QXProxyInfo& proxy,
           const std::string& user, const std::string& password);
/// A handshake and a message.
void RefusedWithoutTls(std::uint16_t port, const std::string& user, const std::string& password);
void Session(CQXDB::DBAgent& agent);
void LogOut(CQXDB::DBAgent& agent, std::uint16_t port, const CQXDB::QXProxyInfo& proxy,
            const std::string& user, const std::string& password);

}  // namespace tour

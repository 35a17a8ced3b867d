#include "server/requests/database_work.h"

#include <qxdb/DBMgr.h>
#include <qxdb/DBMgrWithPOCO.h>

namespace CQXSERVER::requests {
namespace {

using namespace CQXDB;

template <class Manager, class Work>
DatabaseAnswer RunOn(const Caller& caller, Work work) {
    Manager manager;
    manager.SetSessionUser(caller.account);
    manager.SetCancellation(caller.cancellation);
    work(manager);
    return {manager.errNumber(), manager.errDesc(), manager.Notices()};
}

template <class Work>
DatabaseAnswer Run(const Caller& caller, const QXDataSource& dataSource, Work work) {
    const bool embedded =
        dataSource.type == CQXDB_DS_EMBEDDED && dataSource.driver == CQXDB_DRIVER_DEFAULT;
    return embedded ? RunOn<DBMgr>(caller, work) : RunOn<DBMgrWithPOCO>(caller, work);
}

template <class Commands>
DatabaseAnswer ExecuteAny(const Caller& caller, Commands& commands) {
    return Run(caller, commands.SysDataSrc(), [&](auto& manager) { manager.Execute(&commands); });
}

template <class Commands>
DatabaseAnswer QueryAny(const Caller& caller, Commands& commands, QXRecordset& rs,
                        std::size_t maxBytes, const RowSink& sink) {
    rs.setPageSize(commands.PageSize());
    rs.setCurrentPage(commands.PageNo());
    return Run(caller, commands.SysDataSrc(), [&](auto& manager) {
        manager.SetMaxResultBytes(maxBytes);
        manager.SetRowSink(&sink);
        manager.OpenQuery(&commands, rs);
    });
}

}  // namespace

DatabaseAnswer Execute(const Caller& caller, QXCommand& command) {
    return ExecuteAny(caller, command);
}
DatabaseAnswer Execute(const Caller& caller, QXCommandList& list) {
    return ExecuteAny(caller, list);
}
DatabaseAnswer Query(const Caller& caller, QXCommand& command, QXRecordset& rs,
                     std::size_t maxBytes, const RowSink& sink) {
    return QueryAny(caller, command, rs, maxBytes, sink);
}
DatabaseAnswer Query(const Caller& caller, QXCommandList& list, QXRecordset& rs,
                     std::size_t maxBytes, const RowSink& sink) {
    return QueryAny(caller, list, rs, maxBytes, sink);
}
DatabaseAnswer Batch(const Caller& caller, QXCommandList& list, QXRsList& out,
                     std::size_t maxBytes) {
    return Run(caller, list.SysDataSrc(), [&](auto& manager) {
        manager.SetMaxResultBytes(maxBytes);
        manager.BatchQry(&list, out);
    });
}
DatabaseAnswer Describe(const Caller& caller, QXCommand& command,
                        std::vector<QXColumnInfo>& columns) {
    return Run(caller, command.SysDataSrc(),
               [&](auto& manager) { manager.Describe(&command, columns); });
}
DatabaseAnswer OpenCursor(const Caller& caller, QXCommand& command) {
    return Run(caller, command.SysDataSrc(),
               [&](auto& manager) { manager.OpenCursor(&command, command.PageNo()); });
}
DatabaseAnswer FetchCursor(const Caller& caller, QXCommand& command, QXRecordset& rs,
                           std::size_t maxBytes) {
    rs.setPageSize(command.PageSize());
    return Run(caller, command.SysDataSrc(), [&](auto& manager) {
        manager.SetMaxResultBytes(maxBytes);
        manager.FetchCursor(&command, command.PageNo(), rs);
    });
}
DatabaseAnswer CloseCursor(const Caller& caller, QXCommand& command) {
    return Run(caller, command.SysDataSrc(),
               [&](auto& manager) { manager.CloseCursor(&command, command.PageNo()); });
}
DatabaseAnswer Begin(const Caller& caller, const QXDataSource& dataSource,
                     const QXTransactionInfo& info, std::wstring& id) {
    QXDataSource copy = dataSource;
    return Run(caller, dataSource, [&](auto& manager) { manager.Begin(&copy, info, id); });
}
DatabaseAnswer Commit(const std::wstring& id) {
    return RunOn<DBMgr>({}, [&](auto& manager) { manager.Commit(id); });
}
DatabaseAnswer Rollback(const std::wstring& id) {
    return RunOn<DBMgr>({}, [&](auto& manager) { manager.Rollback(id); });
}
void Abandon(const std::wstring& id) noexcept {
    DBMgr().Abandon(id);
}
DatabaseAnswer Probe(const QXDataSource& dataSource) {
    QXDataSource copy = dataSource;
    return Run({}, dataSource, [&](auto& manager) { manager.CanConnect(&copy); });
}

void CloseExpired() noexcept {
    DBMgr().CloseExpiredConn();
    DBMgrWithPOCO().CloseExpiredConn();
}

}  // namespace CQXSERVER::requests

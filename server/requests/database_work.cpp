#include "server/requests/database_work.h"

#include <qxdb/DBMgr.h>
#include <qxdb/DBMgrWithPOCO.h>

namespace CQXSERVER::requests {
namespace {

using namespace CQXDB;

template <class Manager, class Work>
DatabaseAnswer RunOn(const std::string& account, Work work) {
    Manager manager;
    manager.SetSessionUser(account);
    work(manager);
    return {manager.errNumber(), manager.errDesc()};
}

template <class Work>
DatabaseAnswer Run(const std::string& account, const QXDataSource& dataSource, Work work) {
    const bool embedded =
        dataSource.type == CQXDB_DS_EMBEDDED && dataSource.driver == CQXDB_DRIVER_DEFAULT;
    return embedded ? RunOn<DBMgr>(account, work) : RunOn<DBMgrWithPOCO>(account, work);
}

template <class Commands>
DatabaseAnswer ExecuteAny(const std::string& account, Commands& commands) {
    return Run(account, commands.SysDataSrc(), [&](auto& manager) { manager.Execute(&commands); });
}

template <class Commands>
DatabaseAnswer QueryAny(const std::string& account, Commands& commands, QXRecordset& rs,
                        std::size_t maxBytes, const RowSink& sink) {
    rs.setPageSize(commands.PageSize());
    rs.setCurrentPage(commands.PageNo());
    return Run(account, commands.SysDataSrc(), [&](auto& manager) {
        manager.SetMaxResultBytes(maxBytes);
        manager.SetRowSink(&sink);
        manager.OpenQuery(&commands, rs);
    });
}

}  // namespace

DatabaseAnswer Execute(const std::string& account, QXCommand& command) {
    return ExecuteAny(account, command);
}
DatabaseAnswer Execute(const std::string& account, QXCommandList& list) {
    return ExecuteAny(account, list);
}
DatabaseAnswer Query(const std::string& account, QXCommand& command, QXRecordset& rs,
                     std::size_t maxBytes, const RowSink& sink) {
    return QueryAny(account, command, rs, maxBytes, sink);
}
DatabaseAnswer Query(const std::string& account, QXCommandList& list, QXRecordset& rs,
                     std::size_t maxBytes, const RowSink& sink) {
    return QueryAny(account, list, rs, maxBytes, sink);
}
DatabaseAnswer Batch(const std::string& account, QXCommandList& list, QXRsList& out,
                     std::size_t maxBytes) {
    return Run(account, list.SysDataSrc(), [&](auto& manager) {
        manager.SetMaxResultBytes(maxBytes);
        manager.BatchQry(&list, out);
    });
}
DatabaseAnswer Probe(const QXDataSource& dataSource) {
    QXDataSource copy = dataSource;
    return Run({}, dataSource, [&](auto& manager) { manager.CanConnect(&copy); });
}

}  // namespace CQXSERVER::requests

#include "server/database_work.h"

#include <qxdb/DBMgr.h>
#include <qxdb/DBMgrWithPOCO.h>

namespace CQXSERVER {
namespace {

using namespace CQXDB;

template <class Manager, class Work>
DatabaseAnswer RunOn(Work work) {
    Manager manager;
    work(manager);
    return {manager.errNumber(), manager.errDesc()};
}

template <class Work>
DatabaseAnswer Run(const QXDataSource& dataSource, Work work) {
    const bool embedded =
        dataSource.type == CQXDB_DS_EMBEDDED && dataSource.driver == CQXDB_DRIVER_DEFAULT;
    return embedded ? RunOn<DBMgr>(work) : RunOn<DBMgrWithPOCO>(work);
}

template <class Commands>
DatabaseAnswer ExecuteAny(Commands& commands) {
    return Run(commands.SysDataSrc(), [&](auto& manager) { manager.Execute(&commands); });
}

template <class Commands>
DatabaseAnswer QueryAny(Commands& commands, QXRecordset& rs, std::size_t maxBytes,
                        const RowSink& sink) {
    rs.setPageSize(commands.PageSize());
    rs.setCurrentPage(commands.PageNo());
    return Run(commands.SysDataSrc(), [&](auto& manager) {
        manager.SetMaxResultBytes(maxBytes);
        manager.SetRowSink(&sink);
        manager.OpenQuery(&commands, rs);
    });
}

}  // namespace

DatabaseAnswer Execute(QXCommand& command) {
    return ExecuteAny(command);
}
DatabaseAnswer Execute(QXCommandList& list) {
    return ExecuteAny(list);
}
DatabaseAnswer Query(QXCommand& command, QXRecordset& rs, std::size_t maxBytes,
                     const RowSink& sink) {
    return QueryAny(command, rs, maxBytes, sink);
}
DatabaseAnswer Query(QXCommandList& list, QXRecordset& rs, std::size_t maxBytes,
                     const RowSink& sink) {
    return QueryAny(list, rs, maxBytes, sink);
}
DatabaseAnswer Batch(QXCommandList& list, QXRsList& out, std::size_t maxBytes) {
    return Run(list.SysDataSrc(), [&](auto& manager) {
        manager.SetMaxResultBytes(maxBytes);
        manager.BatchQry(&list, out);
    });
}
DatabaseAnswer Probe(const QXDataSource& dataSource) {
    QXDataSource copy = dataSource;
    return Run(dataSource, [&](auto& manager) { manager.CanConnect(&copy); });
}

}  // namespace CQXSERVER

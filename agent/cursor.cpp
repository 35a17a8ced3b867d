#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "agent/cancel_point.h"
#include "agent/cursor_state.h"
#include "agent/stamp.h"
#include "agent/told.h"
#include "messages/transaction_fields.h"

namespace CQXDB {
namespace {

/// From 1: copies of an agent share its transaction, and the numbers are the transaction's.
long NextCursor() {
    static std::atomic<std::uint32_t> latest{0};
    return static_cast<long>(latest.fetch_add(1, std::memory_order_relaxed) & 0x3fffffff) + 1;
}

}  // namespace

QXCursor::QXCursor() noexcept = default;
QXCursor::QXCursor(QXCursor&& other) noexcept = default;

QXCursor& QXCursor::operator=(QXCursor&& other) noexcept {
    QXCursor before(std::move(*this));
    state_ = std::move(other.state_);
    return *this;
}

QXCursor::~QXCursor() {
    long errCode = 0;
    std::wstring errText;
    Close(errCode, errText);
}

void QXCursor::Fetch(long& errCode, std::wstring& errText, QXRecordset& rs, long rows) {
    Told(errCode, errText, [&] {
        errCode = 0;
        errText.clear();
        rs.Clear();
        if (!IsOpen()) {
            errCode = DBMGR_NO_CURSOR;
            errText = L"no cursor is open";
            return;
        }
        state_->agent.fetchCursor_(errCode, errText, *state_, rs, rows);
    });
    if (errCode != 0) {
        rs.Clear();
    }
    if (IsOpen() && (errCode != 0 || rs.RowCount() == 0)) {
        long closeCode = 0;
        std::wstring closeText;
        Close(closeCode, closeText);
        if (errCode == 0 && closeCode != 0) {
            errCode = closeCode;
            errText = std::move(closeText);
        }
    }
}

void QXCursor::Close(long& errCode, std::wstring& errText) {
    Told(errCode, errText, [&] {
        errCode = 0;
        errText.clear();
        const std::unique_ptr<State> state = std::move(state_);
        if (state != nullptr) {
            state->agent.closeCursor_(errCode, errText, *state);
        }
    });
}

void DBAgent::OpenCursor(long& errCode, std::wstring& errText, QXCommand& cmd, QXCursor& cursor,
                         const std::wstring& db) {
    cursor = QXCursor();
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        if (!prepare_(errCode, errText, cmd, db)) {
            return;
        }
        const bool own = transaction_ == nullptr;
        auto state = std::make_unique<QXCursor::State>(
            QXCursor::State{*this, transaction_, NextCursor(), own});
        if (own) {
            begin_(errCode, errText, QXTransactionInfo(), db, state->transaction);
        }
        if (errCode != 0) {
            return;
        }
        Stamp(cmd, *dataSource_, db, token_, state->transaction.get());
        callCursor_(errCode, errText, CQXBASE::TransactionVerb::OpenCursor, cmd, *state, nullptr);
        if (errCode == 0) {
            cursor.state_ = std::move(state);
        } else if (own) {
            long ignoredCode = 0;
            std::wstring ignoredText;
            end_(ignoredCode, ignoredText, *state->transaction, false);
        }
    });
}

/// The call's cancellation is the caller's to arrange.
void DBAgent::callCursor_(long& errCode, std::wstring& errText, CQXBASE::TransactionVerb verb,
                          QXCommand& cmd, const QXCursor::State& state, QXRecordset* rs) {
    if (!sameRoute_(errCode, errText, *state.transaction)) {
        return;
    }
    if (isLocal_) {
        cursorLocal_(errCode, errText, verb, cmd, state.number, rs);
        return;
    }
    cmd.SetPageSize(rs == nullptr ? 0 : rs->pageSize());
    cmd.SetPageNo(state.number);
    cmd.SetTransaction(CQXBASE::VerbField(state.transaction->id, verb));
    if (rs == nullptr) {
        ExecuteRemote(errCode, errText, cmd);
    } else {
        OpenQueryRemote(errCode, errText, cmd, *rs, rs->pageSize(), state.number);
    }
    cmd.SetTransaction(state.transaction->id);
}

void DBAgent::fetchCursor_(long& errCode, std::wstring& errText, const QXCursor::State& state,
                           QXRecordset& rs, long rows) {
    const CancelPoint::Call call(*cancelPoint_);
    notices_.clear();
    rs.setPageSize(rows);
    rs.setCurrentPage(1);
    if (rows < 1 || rs.pageSize() != rows) {
        errCode = DBMGR_BAD_PAGE;
        errText = L"a portion has one row or more, and at most 2147483647";
        return;
    }
    QXCommand fetch(L"FETCH");
    Stamp(fetch, *dataSource_, std::wstring(), token_, state.transaction.get());
    callCursor_(errCode, errText, CQXBASE::TransactionVerb::FetchCursor, fetch, state, &rs);
}

void DBAgent::closeCursor_(long& errCode, std::wstring& errText, const QXCursor::State& state) {
    const CancelPoint::Call call(*cancelPoint_);
    if (state.ownTransaction) {
        end_(errCode, errText, *state.transaction, true);
        return;
    }
    QXCommand close(L"CLOSE");
    Stamp(close, *dataSource_, std::wstring(), token_, state.transaction.get());
    callCursor_(errCode, errText, CQXBASE::TransactionVerb::CloseCursor, close, state, nullptr);
}

}  // namespace CQXDB

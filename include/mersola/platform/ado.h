// ADO's connection and recordset, as far as the library and its callers use them.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include <mersola/platform/com_error.h>
#include <mersola/platform/export.h>
#include <mersola/platform/text.h>

class _Connection;
class _Recordset;

/// Handles that count their references. A null handle means that there is none.
using _ConnectionPtr = std::shared_ptr<_Connection>;
using _RecordsetPtr = std::shared_ptr<_Recordset>;

/// ADO's constants with the numbers that they have there, as far as they are needed.
enum CursorLocationEnum : long { adUseServer = 2, adUseClient = 3 };
enum CursorTypeEnum : long {
    adOpenForwardOnly = 0,
    adOpenKeyset = 1,
    adOpenDynamic = 2,
    adOpenStatic = 3
};
enum LockTypeEnum : long {
    adLockReadOnly = 1,
    adLockPessimistic = 2,
    adLockOptimistic = 3,
    adLockBatchOptimistic = 4
};
enum CommandTypeEnum : long {
    adCmdUnspecified = -1,
    adCmdText = 1,
    adCmdTable = 2,
    adCmdUnknown = 8
};
enum IsolationLevelEnum : long { adXactReadCommitted = 4096 };
enum ObjectStateEnum : long { adStateClosed = 0, adStateOpen = 1 };
enum AffectEnum : long { adAffectAll = 3 };
enum ConnectOptionEnum : long { adConnectUnspecified = -1 };

/// One error of a connection's last failure.
struct AdoError {
    HRESULT Number = S_OK;  ///< its result code
    CString Description;    ///< the engine's own words
    CString Source;         ///< the name of the provider
};

namespace mersola::ado {
struct Cell;
struct ConnectionState;
struct Internals;
struct RecordsetState;
}  // namespace mersola::ado

/// A connection to a database. One thread at a time uses it. Every failure raises _com_error.
class MERSOLA_EXPORT _Connection : public std::enable_shared_from_this<_Connection> {
  public:
    /// Makes a closed connection; null when the system cannot make one.
    static _ConnectionPtr CreateInstance();

    _Connection();
    ~_Connection();  // closes the connection and rolls back an open transaction
    _Connection(const _Connection&) = delete;
    _Connection& operator=(const _Connection&) = delete;

    /// Time-outs in seconds; 0 waits without end. Open reads them. A negative number raises. The
    /// defaults are 15 for connecting and 30 for a statement.
    void PutConnectionTimeout(long seconds);
    void PutCommandTimeout(long seconds);
    long GetConnectionTimeout() const;
    long GetCommandTimeout() const;
    /// Accepts read committed only, which every engine gives; another level raises.
    void PutIsolationLevel(IsolationLevelEnum level);
    /// Accepts either place and does nothing: rows are always read from a snapshot.
    void PutCursorLocation(CursorLocationEnum location);

    /// Opens the database that the connection string names. It raises when the connection is open
    /// already or when the string's provider is not known, and it hands on what the provider
    /// raises. After a failure GetErrors has the reasons, and the connection stays closed.
    void Open(const CString& connectionString, const CString& userId, const CString& password,
              long options = adConnectUnspecified);
    /// Closes the connection. An open transaction is rolled back. Recordsets keep the rows that
    /// they have not handed out yet. Raises when the connection is closed already.
    void Close();
    /// Whether it is open.
    ObjectStateEnum GetState() const;

    /// Begin, commit and roll back a transaction. There is one at a time: BeginTrans raises inside
    /// a transaction, and the others raise outside of one.
    void BeginTrans();
    void CommitTrans();
    void RollbackTrans();

    /// The engine's own name, which ADO calls the property "DBMS Name": "SQLite", "Microsoft SQL
    /// Server". Raises on a closed connection.
    CString DbmsName() const;

    /// The errors of the last Open, statement, begin or commit that failed, as the provider orders.
    const std::vector<AdoError>& GetErrors() const;

  private:
    friend class _Recordset;
    friend struct mersola::ado::Internals;
    std::unique_ptr<mersola::ado::ConnectionState> state_;
};

/// One field of a recordset. It reads the row on which the recordset stands, and is valid as long
/// as the recordset is open, so that a loop over many rows need not look up its fields for each
/// row. Conversions are strict: a number beyond the target's range raises DISP_E_OVERFLOW, and a
/// text that is no number raises DISP_E_TYPEMISMATCH. A null reads as 0 or as an empty text; ask
/// IsNull where the difference matters.
class MERSOLA_EXPORT AdoField {
  public:
    /// Whether the field holds no value.
    bool IsNull() const;
    /// The first byte of the text, zero for a null or an empty text.
    char FirstCharacter() const;
    /// A 32-bit integer; a fraction is rounded to the nearest, ties to even.
    std::int32_t Long() const;
    /// A number, or a text that is a number in C's notation.
    double Double() const;
    /// A text, or a number as its shortest decimal text.
    CString Text() const;

    /// Set the field in a row that AddNew made. They raise on any other row.
    template <std::integral T>
    void Put(T value) {
        PutInteger(static_cast<std::int64_t>(value));
    }
    void Put(double value);
    void Put(std::string_view value);

  private:
    friend class _Recordset;
    AdoField(_Recordset& recordset, int column) : recordset_(recordset), column_(column) {}
    void PutInteger(std::int64_t value);

    _Recordset& recordset_;
    int column_;
};

/// The rows of a statement, or rows to be added to a table. Every failure raises _com_error.
///
/// Reading is from a snapshot: what runs on the connection afterwards never changes the rows. A
/// result of up to kRowsHeld rows is held in memory at once. A longer result streams: its first
/// kRowsHeld rows can be read again with MoveFirst, and past them it moves forward only. When
/// something else runs on the connection before all rows were read, the rest of them is brought
/// into memory first.
class MERSOLA_EXPORT _Recordset {
  public:
    /// How many rows of a result can be read again.
    static constexpr std::size_t kRowsHeld = 512;

    /// Makes a closed recordset; null when the system cannot make one.
    static _RecordsetPtr CreateInstance();

    _Recordset();
    ~_Recordset();
    _Recordset(const _Recordset&) = delete;
    _Recordset& operator=(const _Recordset&) = delete;

    /// Accept any value and do nothing: the class says how rows are read. They raise on an open
    /// recordset.
    void PutCursorLocation(CursorLocationEnum location);
    void PutCursorType(CursorTypeEnum type);
    void PutLockType(LockTypeEnum type);

    /// Runs the statement `source`. With adCmdTable, or with adCmdUnknown and a single word, it
    /// opens the table of that name to add rows. A statement without rows leaves the recordset
    /// closed. It hands on what the provider raises; the recordset is then closed.
    void Open(const CString& source, const _ConnectionPtr& connection, CursorTypeEnum cursorType,
              LockTypeEnum lockType, long options);
    /// Forgets the rows, pending ones too. Raises on a closed recordset.
    void Close();
    /// Whether it is open.
    ObjectStateEnum GetState() const;

    /// True when there is no current row: none came, or MoveNext went past the last one.
    bool EndOfFile() const;
    /// Moves back to the first row. Raises when there are no rows, and in a streaming result whose
    /// first rows are gone.
    void MoveFirst();
    /// Moves to the next row, or behind the last one. Raises when there is no current row.
    void MoveNext();

    /// A field by its name, without regard to case, or by its position, counted from 0. Raises
    /// adErrItemNotFound when there is none.
    AdoField Fields(std::string_view name);
    AdoField Fields(int position);
    /// How many fields each row has, and their names in the order of the statement or the table.
    int FieldCount() const;
    CString FieldName(int position) const;

    /// Starts a new row of null fields. The recordset must have been opened on a table.
    void AddNew();
    /// Sends the new rows, in one transaction of its own unless one is open. Rows that can be
    /// stored are stored. If any row was refused, it raises the first refusal when the others are
    /// in, and no row is pending any more. If the rows could not be sent at all, as to a locked or
    /// full database, it raises, nothing is stored, and all rows stay pending.
    void UpdateBatch(AffectEnum affect = adAffectAll);

  private:
    friend class AdoField;
    friend struct mersola::ado::Internals;
    std::unique_ptr<mersola::ado::RecordsetState> state_;
};

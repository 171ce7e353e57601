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

/// Reference-counted handles; null means none.
using _ConnectionPtr = std::shared_ptr<_Connection>;
using _RecordsetPtr = std::shared_ptr<_Recordset>;

/// ADO's constants, as far as they are needed, with the numbers that they have there.
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
struct RecordsetState;
}  // namespace mersola::ado

/// A connection to a database. Used by one thread at a time. Every failure raises _com_error.
class MERSOLA_EXPORT _Connection : public std::enable_shared_from_this<_Connection> {
  public:
    /// A closed connection; null when the system cannot make one.
    static _ConnectionPtr CreateInstance();

    _Connection();
    ~_Connection();  // closes, and rolls an open transaction back
    _Connection(const _Connection&) = delete;
    _Connection& operator=(const _Connection&) = delete;

    /// Seconds; 0 waits without end. Read at Open. Negative raises. Defaults: 15 and 30.
    void PutConnectionTimeout(long seconds);
    void PutCommandTimeout(long seconds);
    long GetConnectionTimeout() const;
    long GetCommandTimeout() const;
    /// Only read committed, which both engines give, is accepted; another level raises.
    void PutIsolationLevel(IsolationLevelEnum level);
    /// Accepted for either place: rows are always read from a snapshot.
    void PutCursorLocation(CursorLocationEnum location);

    /// Opens the database that the connection string names. Raises when it is open already, when
    /// the string's provider is not known, or what the provider raises; the reasons are then in
    /// GetErrors and the connection stays closed.
    void Open(const CString& connectionString, const CString& userId, const CString& password,
              long options = adConnectUnspecified);
    /// Closes; an open transaction is rolled back and recordsets keep the rows that they have not
    /// handed out yet. Raises when it is closed already.
    void Close();
    /// Whether it is open.
    ObjectStateEnum GetState() const;

    /// One transaction at a time: a second one raises, as do the others without one.
    void BeginTrans();
    void CommitTrans();
    void RollbackTrans();

    /// The engine's own name (ADO's property "DBMS Name"): "SQLite", "Microsoft SQL Server". Raises
    /// on a closed connection.
    CString DbmsName() const;

    /// What the last Open or statement that failed had to say, in the provider's order.
    const std::vector<AdoError>& GetErrors() const;

  private:
    friend class _Recordset;
    std::unique_ptr<mersola::ado::ConnectionState> state_;
};

/// One field of a recordset; it reads the row on which the recordset stands, and is valid as long
/// as that is open, so that a loop over many rows need not look its fields up for each. Conversions
/// are strict: a number beyond the target's range raises DISP_E_OVERFLOW, a text that is no number
/// DISP_E_TYPEMISMATCH. A null reads as 0 or as an empty text; ask IsNull where that matters.
class MERSOLA_EXPORT AdoField {
  public:
    /// Whether the field holds no value.
    bool IsNull() const;
    /// The first byte of the text, zero for a null or an empty text.
    char FirstCharacter() const;
    /// A 32-bit integer; a fraction is rounded to the nearest, ties to even.
    std::int32_t Long() const;
    /// A number, or a text that is one, in C's notation.
    double Double() const;
    /// A text, or a number as its shortest decimal text.
    CString Text() const;

    /// Set the field of a row that AddNew made; raise on any other.
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
/// result of up to kRowsHeld rows is held in memory at once. A longer one streams: its first
/// kRowsHeld rows can be read again with MoveFirst, past them it moves forward only. The rest is
/// brought into memory when something else runs on the connection before it was read.
class MERSOLA_EXPORT _Recordset {
  public:
    /// How many rows of a result can be read again.
    static constexpr std::size_t kRowsHeld = 512;

    /// A closed recordset; null when the system cannot make one.
    static _RecordsetPtr CreateInstance();

    _Recordset();
    ~_Recordset();
    _Recordset(const _Recordset&) = delete;
    _Recordset& operator=(const _Recordset&) = delete;

    /// Accepted and of no further effect: see the class. Raise on an open recordset.
    void PutCursorLocation(CursorLocationEnum location);
    void PutCursorType(CursorTypeEnum type);
    void PutLockType(LockTypeEnum type);

    /// Runs the statement `source`, or with adCmdTable (or adCmdUnknown and a single word) opens
    /// the table of that name to add rows. A statement without rows leaves the recordset closed.
    /// Raises what the provider raises; the recordset is then closed.
    void Open(const CString& source, const _ConnectionPtr& connection, CursorTypeEnum cursorType,
              LockTypeEnum lockType, long options);
    /// Forgets the rows, pending ones too. Raises on a closed recordset.
    void Close();
    /// Whether it is open.
    ObjectStateEnum GetState() const;

    /// True when there is no current row: none came, or MoveNext went past the last one.
    bool EndOfFile() const;
    /// Back to the first row. Raises when there are no rows, and in a streaming result whose first
    /// rows are gone.
    void MoveFirst();
    /// To the next row, or behind the last one. Raises when there is no current row.
    void MoveNext();

    /// A field by name, without regard to case, or by position from 0; raises adErrItemNotFound.
    AdoField Fields(std::string_view name);
    AdoField Fields(int position);
    /// How many fields each row has, and their names in the order of the statement or the table.
    int FieldCount() const;
    CString FieldName(int position) const;

    /// Starts a new row of null fields in a recordset opened on a table.
    void AddNew();
    /// Sends the new rows in one transaction of its own unless one is open. Rows that can be stored
    /// are stored; if any was refused, raises the first refusal when the others are in, and none is
    /// pending any more. When the rows could not be sent at all (a locked or full database),
    /// raises, nothing is stored and all stay pending.
    void UpdateBatch(AffectEnum affect = adAffectAll);

  private:
    friend class AdoField;
    std::unique_ptr<mersola::ado::RecordsetState> state_;
};

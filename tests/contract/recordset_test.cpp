// Connections and recordsets as ADO has them, on every engine.
#include "support/store.h"

namespace mersola::test {
namespace {

class RecordsetTest : public Contract {
  protected:
    RecordsetTest() { connection->Open(database.ConnectString(), "", ""); }

    _RecordsetPtr Run(const std::string& sql) const { return RunSql(connection, sql); }

    // One value in each of the periods from 0.
    void Fill(int periods) const {
        const auto batch = Batch(connection);
        for (int period = 0; period < periods; ++period)
            AddValue(*batch, 1, period, 1, 1, 0.5 * period);
        batch->UpdateBatch();
    }

    _ConnectionPtr connection = _Connection::CreateInstance();
};

TEST_P(RecordsetTest, FindsFieldsByNameInAnyCaseAndByPosition) {
    Run("INSERT INTO GROUPS  WITH (ROWLOCK) (GroupId,GroupName,Info,Type,State) VALUES "
        "(7,'it''s','2.5',NULL,'')");
    auto rows = Run("SELECT * FROM Groups");
    EXPECT_EQ(rows->Fields("groupid").Long(), 7);
    EXPECT_EQ(rows->Fields(1).Text(), "it's");
    EXPECT_EQ(rows->Fields("Info").Double(), 2.5);
    EXPECT_TRUE(rows->Fields("Type").IsNull());
    EXPECT_EQ(rows->Fields("Type").Text(), "");
    EXPECT_EQ(rows->Fields("Type").Long(), 0);
    EXPECT_EQ(CodeOf([&] { rows->Fields("FuncName"); }), adErrItemNotFound);
    EXPECT_EQ(CodeOf([&] { rows->Fields(5); }), adErrItemNotFound);
    EXPECT_EQ(CodeOf([&] { rows->Fields("GroupName").Long(); }), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(CodeOf([&] { rows->AddNew(); }), adErrIllegalOperation);
}

TEST_P(RecordsetTest, RefusesToNarrowANumberBeyond32Bits) {
    Fill(1);
    auto rows =
        Run("SELECT PeriodNo + 2147483647, PeriodNo + 2147483648, PeriodNo - 2147483648 FROM "
            "MeasuredValues");
    EXPECT_EQ(rows->Fields(0).Long(), 2147483647);
    EXPECT_EQ(CodeOf([&] { rows->Fields(1).Long(); }), DISP_E_OVERFLOW);
    EXPECT_EQ(rows->Fields(2).Long(), -2147483647 - 1);
}

TEST_P(RecordsetTest, IsClosedAfterAStatementWithoutRowsAndEmptyAfterOneThatFindsNone) {
    auto closed = Run("DELETE FROM Markers WHERE GroupId=1");
    EXPECT_EQ(closed->GetState(), adStateClosed);
    EXPECT_EQ(CodeOf([&] { closed->EndOfFile(); }), adErrObjectClosed);
    auto empty = Run("SELECT * FROM Markers");
    EXPECT_TRUE(empty->EndOfFile());
    EXPECT_EQ(CodeOf([&] { empty->MoveFirst(); }), adErrNoCurrentRecord);
    EXPECT_EQ(CodeOf([&] { empty->Fields(0).Long(); }), adErrNoCurrentRecord);
}

TEST_P(RecordsetTest, KeepsItsSnapshotWhileTheTableChanges) {
    for (const int count : {10, 3000}) {  // within what is held, and beyond it
        Run("DELETE FROM MeasuredValues");
        Fill(count);
        auto rows = Run("SELECT PeriodNo FROM MeasuredValues ORDER BY PeriodNo");
        for (int row = 0; row < count / 2; ++row)
            rows->MoveNext();
        connection->BeginTrans();
        Run("DELETE FROM MeasuredValues WHERE PeriodNo > 1");
        connection->CommitTrans();
        int expected = count / 2;
        for (; !rows->EndOfFile(); rows->MoveNext())
            ASSERT_EQ(rows->Fields(0).Long(), expected++);
        EXPECT_EQ(expected, count);
    }
}

TEST_P(RecordsetTest, StreamsOnWhenTheStatementsTextIsGone) {
    Fill(2000);
    Run("UPDATE MeasuredValues SET Status='Ok'");
    CString sql("SELECT PeriodNo FROM MeasuredValues WHERE Status='Ok'");  // not sorted first
    auto rows = _Recordset::CreateInstance();
    rows->Open(sql, connection, adOpenKeyset, adLockOptimistic, adCmdText);
    sql.Replace('O', '?');  // where it stands, as whatever comes into its memory does
    int count = 0;
    for (; !rows->EndOfFile(); rows->MoveNext())
        ++count;
    EXPECT_EQ(count, 2000);
}

TEST_P(RecordsetTest, AnswersMoreShapesOfStatementsThanAreKeptPrepared) {
    constexpr int shapes = 100;
    Fill(3 * shapes);
    for (int run = 0; run < 3; ++run) {
        for (int i = 0; i < shapes; ++i) {
            const int shape = run == 1 ? shapes - 1 - i : i;
            const int period = run * shapes + shape;
            const std::string name = "Column" + std::to_string(shape);
            const auto rows = Run("SELECT PeriodNo AS " + name +
                                  " FROM MeasuredValues WHERE PeriodNo=" + std::to_string(period));
            ASSERT_EQ(rows->Fields(name.c_str()).Long(), period) << name;
            rows->MoveNext();
            ASSERT_TRUE(rows->EndOfFile()) << name;
        }
    }
}

TEST_P(RecordsetTest, GoesBackToTheFirstRowUnlessItIsGone) {
    Fill(2000);
    auto rows = Run("SELECT PeriodNo FROM MeasuredValues ORDER BY PeriodNo");
    for (std::size_t row = 0; row < _Recordset::kRowsHeld; ++row)
        rows->MoveNext();
    rows->MoveFirst();
    int expected = 0;
    for (; !rows->EndOfFile(); rows->MoveNext())
        ASSERT_EQ(rows->Fields(0).Long(), expected++);
    EXPECT_EQ(expected, 2000);
    EXPECT_EQ(CodeOf([&] { rows->MoveFirst(); }), adErrIllegalOperation);
    EXPECT_EQ(CodeOf([&] { rows->MoveNext(); }), adErrNoCurrentRecord);
}

TEST_P(RecordsetTest, OutlivesItsConnection) {
    Fill(2000);
    auto rows = Run("SELECT PeriodNo FROM MeasuredValues ORDER BY PeriodNo");
    connection->Close();
    int count = 0;
    for (; !rows->EndOfFile(); rows->MoveNext())
        ++count;
    EXPECT_EQ(count, 2000);
    EXPECT_EQ(CodeOf([&] { connection->Close(); }), adErrObjectClosed);
    EXPECT_EQ(CodeOf([&] { Run("SELECT * FROM Groups"); }), adErrObjectClosed);
}

TEST_P(RecordsetTest, IsNeverShortenedByALostConnectionThatAnotherStatementMet) {
    Fill(2000);
    const auto fragile = _Connection::CreateInstance();
    fragile->Open(database.WatchedString(), "", "");
    TheWatch().rowsBeforeLoss = 1500;
    const auto rows = RunSql(fragile, "SELECT PeriodNo FROM MeasuredValues ORDER BY PeriodNo");
    TheWatch().FailOn("Groups");
    EXPECT_THROW(RunSql(fragile, "SELECT * FROM Groups"), _com_error);
    int read = 0;
    EXPECT_THROW(for (; !rows->EndOfFile(); rows->MoveNext())
                     EXPECT_EQ(rows->Fields(0).Long(), read++),
                 _com_error);
    EXPECT_EQ(read, 1500);
    fragile->Close();
    EXPECT_EQ(fragile->GetState(), adStateClosed);
}

TEST_P(RecordsetTest, StoresABatchButForWhatIsRefused) {
    Fill(3);
    const auto batch = Batch(connection);
    for (int period = 0; period < 5; ++period)
        AddValue(*batch, 1, period, 1, 1, 0.5 * period);
    try {
        batch->UpdateBatch();
        FAIL() << "three rows are stored already";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), DB_E_INTEGRITYVIOLATION);
        EXPECT_GE(error.Description().Find("duplicate"), 0);
        EXPECT_TRUE(error.IsDuplicate());
    }
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "5");
    EXPECT_NO_THROW(batch->UpdateBatch()) << "nothing is pending any more";
}

TEST_P(RecordsetTest, PutsABatchUnderTheCallersTransaction) {
    connection->BeginTrans();
    Fill(4);
    connection->RollbackTrans();
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "0");
}

TEST_P(RecordsetTest, HasOneTransactionAtATime) {
    EXPECT_EQ(CodeOf([&] { connection->CommitTrans(); }), XACT_E_NOTRANSACTION);
    connection->BeginTrans();
    EXPECT_EQ(CodeOf([&] { connection->BeginTrans(); }), XACT_E_XTIONEXISTS);
    connection->RollbackTrans();
    EXPECT_EQ(CodeOf([&] { connection->RollbackTrans(); }), XACT_E_NOTRANSACTION);
}

TEST_P(RecordsetTest, StoresNothingBehindATransactionThatTheEngineHasUndone) {
    if (GetParam() != "SQLite" && GetParam() != "SQLitePacked") return;  // others keep it
    connection->BeginTrans();
    Run("INSERT INTO Groups (GroupId) VALUES (1)");
    EXPECT_EQ(CodeOf([&] { Run("INSERT OR ROLLBACK INTO Groups (GroupId) VALUES (1)"); }),
              DB_E_INTEGRITYVIOLATION);
    EXPECT_EQ(CodeOf([&] { Run("INSERT INTO Groups (GroupId) VALUES (2)"); }), E_FAIL);
    EXPECT_EQ(CodeOf([&] { Fill(1); }), E_FAIL);
    EXPECT_EQ(CodeOf([&] { connection->CommitTrans(); }), E_FAIL);
    connection->RollbackTrans();
    Fill(2);
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "2");
    EXPECT_EQ(database.Ask("SELECT count(*) FROM Groups"), "0");
}

TEST_P(RecordsetTest, SaysDuplicateForAViolatedKeyAndForNothingElse) {
    const char* insert = "INSERT INTO GROUPS (GroupId,GroupName) VALUES (1,'duplicate')";
    Run(insert);
    const auto errorOf = [&](const char* sql) {
        try {
            Run(sql);
        } catch (const _com_error& error) {
            return error;
        }
        return _com_error(S_OK, "nothing failed");
    };
    const _com_error twice = errorOf(insert);
    EXPECT_TRUE(twice.IsDuplicate());
    EXPECT_GE(twice.Description().Find("duplicate"), 0);
    for (const char* other : {"SELECT * FROM duplicate", "SELECT duplicate FROM Groups",
                              "SELECT duplicate duplicate duplicate",
                              "INSERT INTO Measurements (MeasName) VALUES ('duplicate')"}) {
        const _com_error error = errorOf(other);
        EXPECT_NE(error.Error(), S_OK) << other;
        EXPECT_FALSE(error.IsDuplicate());
        EXPECT_EQ(error.Description().Find("duplicate"), -1) << error.what();
    }
}

TEST_P(RecordsetTest, TellsFaultsApartByTheirCode) {
    EXPECT_EQ(CodeOf([&] { Run("SELEKT 1"); }), DB_E_ERRORSINCOMMAND);
    EXPECT_EQ(CodeOf([&] { Run("SELECT * FROM Nowhere"); }), DB_E_NOTABLE);
    EXPECT_EQ(CodeOf([&] { Run("INSERT INTO GROUPS (GroupName) VALUES ('O'Brien')"); }),
              DB_E_ERRORSINCOMMAND);
    EXPECT_EQ(CodeOf([&] { Run("DELETE FROM Groups; DELETE FROM Markers"); }),
              DB_E_ERRORSINCOMMAND);
    EXPECT_EQ(CodeOf([&] { Run("INSERT INTO Measurements (GroupId) VALUES (1)"); }),
              DB_E_INTEGRITYVIOLATION);
}

INSTANTIATE_ON_EVERY_ENGINE(RecordsetTest);

}  // namespace
}  // namespace mersola::test

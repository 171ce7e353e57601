// Tests of the translation from the server's statements to SQLite's: by what it writes, by what
// the engine answers, and by random statements.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "translator.h"

namespace mersola::dialect {
namespace {

// What comes of a text, in words. The text is read from a buffer of exactly its size, so that a
// sanitizer sees every byte too far.
std::string Translated(Translator& translator, std::string_view sql, Literals mode) {
    const auto exact = std::make_unique<char[]>(sql.size());
    std::copy(sql.begin(), sql.end(), exact.get());
    try {
        const Translation translation = translator.Translate({exact.get(), sql.size()}, mode);
        std::string result(translation.text);
        for (const auto& [kind, integer, real, text] : translation.literals) {
            result += " | ";
            if (kind == Literal::Kind::Integer) result += std::to_string(integer);
            if (kind == Literal::Kind::Real) result += "r" + std::to_string(real);
            if (kind == Literal::Kind::Text) result.append("'").append(text) += "'";
        }
        return result;
    } catch (const SyntaxError& error) {
        return std::string("refused: ") + error.what() + " at " + std::to_string(error.position);
    }
}

std::string Lifted(std::string_view sql) {
    Translator translator;
    return Translated(translator, sql, Literals::Lifted);
}

std::string InPlace(std::string_view sql) {
    Translator translator;
    return Translated(translator, sql, Literals::InPlace);
}

class Database {
  public:
    explicit Database(const char* schema) {
        sqlite3* db = nullptr;
        sqlite3_open(":memory:", &db);
        db_.reset(db);
        sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
        EXPECT_EQ(sqlite3_exec(db, schema, nullptr, nullptr, nullptr), SQLITE_OK);
    }

    // The names of the columns and the rows with their types, or the engine's refusal.
    std::string Run(std::string_view sql, std::span<const Literal> literals = {}) {
        sqlite3_stmt* raw = nullptr;
        sqlite3_prepare_v2(db_.get(), sql.data(), static_cast<int>(sql.size()), &raw, nullptr);
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw,
                                                                              sqlite3_finalize);
        if (!raw) return Refusal();
        EXPECT_EQ(static_cast<std::size_t>(sqlite3_bind_parameter_count(raw)), literals.size());
        for (int i = 0; const auto& [kind, integer, real, text] : literals) {
            const int size = static_cast<int>(text.size());
            ++i;
            if (kind == Literal::Kind::Integer) sqlite3_bind_int64(raw, i, integer);
            if (kind == Literal::Kind::Real) sqlite3_bind_double(raw, i, real);
            if (kind == Literal::Kind::Text)
                sqlite3_bind_text(raw, i, text.data(), size, SQLITE_STATIC);
        }
        std::string result;
        for (int i = 0; i < sqlite3_column_count(raw); ++i)
            result.append(sqlite3_column_name(raw, i)) += ',';
        int code;
        while ((code = sqlite3_step(raw)) == SQLITE_ROW) {
            for (int i = 0; i < sqlite3_column_count(raw); ++i) {
                result += "?iftbn"[sqlite3_column_type(raw, i)];
                const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(raw, i));
                result.append(text ? text : "null") += ',';
            }
            result += '\n';
        }
        return code == SQLITE_DONE ? result : Refusal();
    }

    std::string RunTranslated(std::string_view sql, Literals mode) {
        const Translation translation = translator_.Translate(sql, mode);
        return Run(translation.text, translation.literals);
    }

  private:
    std::string Refusal() { return "refused " + std::to_string(sqlite3_errcode(db_.get())); }

    std::unique_ptr<sqlite3, int (*)(sqlite3*)> db_{nullptr, sqlite3_close};
    Translator translator_;
};

constexpr const char* kSchema = R"(
    CREATE TABLE Groups (GroupId, GroupName, Info, Type, State);
    CREATE TABLE MeasuredValues (MeasValueId, PeriodNo, Channel, Value, Status, FrqId, FuncId);
    CREATE TABLE Markers (GroupId, MeasId, Path, Start, Stop, MarkerId, MarkerType,
        TriggerCondition, FuncId, FrqId, InProgess, ExtMarkerType);
    CREATE VIEW Recent AS SELECT * FROM Groups;)";

// What the library runs, one for each form of it.
constexpr std::string_view kStatements[] = {
    "DELETE FROM Markers WHERE GroupId=1 AND MeasId=2 AND Start='2026,11,15' AND Stop='a;b' AND "
    "MarkerId=3 AND MarkerType=4",
    "INSERT INTO GROUPS  WITH (ROWLOCK) (GroupId,GroupName,Info,Type,State) VALUES "
    "(1,'North','WITH (x)','A,B','on')",
    "INSERT INTO MEASUREDVALUES  WITH (ROWLOCK) "
    "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES (1,0,1,57.250000,'OK',-1,3)",
    "SELECT * FROM Groups",
    "SELECT * FROM MeasuredValues where MeasValueId=1 and Channel=1 and FuncId=3 and PeriodNo>=0 "
    "and PeriodNo<9 and FrqId>=-1 and FrqId<5 ORDER BY PeriodNo,FrqId",
    "SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=1",
    "SELECT count(*) FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[Groups]') AND "
    "OBJECTPROPERTY(id, N'IsUserTable') = 1",
    "UPDATE Markers  WITH (ROWLOCK) SET Stop='s', inProgess=0, TriggerCondition='a=\"b\"'  WHERE "
    "GroupId=1 AND MeasId=1  AND Path='c:\\x' AND Start='t' AND funcId=2 AND frqId=3 AND "
    "ExtMarkerType='e'",
};

TEST(Lexer, CutsATextIntoTokensOfEveryKind) {
    Lexer lexer(" Größe/*a/*'*/b*/[a]]b] \"c\"\"d\" n'x''y' 42 4.e1 .5 x'0a' 0x1F 4abc a$1>=--");
    std::string tokens;
    for (int i = 0; i < 15; ++i) {
        const Token token = lexer.Next();
        (tokens += "wqirtose"[static_cast<int>(token.kind)]).append(token.text) += ' ';
    }
    EXPECT_EQ(
        tokens,
        "wGröße q[a]]b] q\"c\"\"d\" tn'x''y' i42 r4.e1 r.5 ox'0a' o0x1F o4abc wa$1 s> s= e e ");
}

TEST(Translator, LeavesLiteralsAlone) {
    const std::string all =
        "WITH (NOLOCK) dbo.[x] N'' -- /* */ ; ? :a @b $c 1.5 OBJECT_ID(N''t'') SET \"q\" ] \\ %s";
    EXPECT_EQ(InPlace("UPDATE t SET a=N'" + all + "' WHERE b='" + all + "';"),
              "UPDATE t SET a='" + all + "' WHERE b='" + all + "'");
    EXPECT_EQ(Lifted("UPDATE t SET a=N'it''s /*' WHERE b=''''''"),
              "UPDATE t SET a=? WHERE b=? | 'it's /*' | ''''");
    EXPECT_EQ(Lifted("VALUES ('it''s','a text that''s longer',''''0x1)"),
              "VALUES (?,?,? 0x1) | 'it's' | 'a text that's longer' | '''");
    EXPECT_EQ(InPlace("SELECT [dbo.x;'--?@] FROM t"), "SELECT \"dbo.x;'--?@\" FROM t");
}

TEST(Translator, DropsWhatOnlyTheServerKnows) {
    EXPECT_EQ(InPlace("INSERT INTO REPORTS WITH(rowlock)(a) VALUES(1) ; -- done"),
              "INSERT INTO REPORTS (a) VALUES(1)");
    EXPECT_EQ(InPlace("SELECT * FROM [dbo].[a]]\"b] x WITH (NOLOCK, INDEX(i, 2), ForceSeek(i(c)))"
                      "WHERE dbo . t.c=1"),
              "SELECT * FROM \"a]\"\"b\" x WHERE t.c=1");
    EXPECT_EQ(InPlace("WITH c AS (SELECT 1 AS x) SELECT\t*\nFROM\"dbo\".t JOIN c WITH (NOLOCK)"),
              "WITH c AS (SELECT 1 AS x) SELECT * FROM t JOIN c");
    EXPECT_EQ(InPlace("SELECT a FROM t WITH (FILLFACTOR)"), "SELECT a FROM t WITH (FILLFACTOR)");
    EXPECT_EQ(InPlace("DELETE FROM t WITH (NOLOCK x WITH (NOLOCK))"),
              "DELETE FROM t WITH (NOLOCK x WITH (NOLOCK))");
    EXPECT_EQ(InPlace("SELECT [a][b]N'c'N'd'[dbo].e"), "SELECT \"a\" \"b\"'c' 'd'e");
}

TEST(Translator, AcceptsIsolationLevelsWithoutRunningThem) {
    Translator translator;
    for (const char* sql : {"SET TRANSACTION ISOLATION LEVEL READ COMMITTED",
                            "set transaction isolation level repeatable read ;"})
        EXPECT_TRUE(translator.Translate(sql, Literals::Lifted).noOperation) << sql;
    for (const char* sql : {"SET TRANSACTION ISOLATION LEVEL NONE", "SET NOCOUNT ON",
                            "SET TRANSACTION ISOLATION LEVEL SNAPSHOT ON"})
        EXPECT_FALSE(translator.Translate(sql, Literals::Lifted).noOperation) << sql;
}

TEST(Translator, GivesStatementsOfOneShapeOneText) {
    EXPECT_EQ(Lifted("INSERT INTO t  WITH (ROWLOCK) (a,b,c) VALUES (-1,2.50,'x') -- 1"),
              "INSERT INTO t (a,b,c) VALUES (-?,?,?) | 1 | r2.500000 | 'x'");
    EXPECT_EQ(Lifted("INSERT INTO t (a,b,c) /*2*/ VALUES\n(-.5,'',N'ß');"),
              "INSERT INTO t (a,b,c) VALUES (-?,?,?) | r0.500000 | '' | 'ß'");
    EXPECT_EQ(Lifted("SELECT a FROM t WHERE b IN (1,2) AND c IN (SELECT 5 FROM u WHERE d=3) "
                     "AND e BETWEEN 1 AND CAST('7' AS decimal(10,2)) LIMIT 5"),
              "SELECT a FROM t WHERE b IN (?,?) AND c IN (SELECT 5 FROM u WHERE d=?) "
              "AND e BETWEEN ? AND CAST(? AS decimal(10,2)) LIMIT ? | 1 | 2 | 3 | 1 | '7' | 5");
}

TEST(Translator, RemembersAShapeOnlyWhereTheLiteralsDecideNothing) {
    const std::string before = "SELECT a FROM t WHERE b ";
    for (const std::string_view pair :
         {"LIKE'x'~LIKEN'x'", "LIKE'x'~LIKE5", "=OBJECT_ID(5)~=OBJECT_ID('t')", "=5~=5 OR 1",
          "=OBJECTPROPERTY(c,5)~=OBJECTPROPERTY(c,'IsUserTable')", "=-5~=-9223372036854775808",
          "=5~= /**/5", "=5~=5e5", "='a'~='a''b'"}) {
        Translator translator;
        Translated(translator, before + std::string(pair.substr(0, pair.find('~'))),
                   Literals::Lifted);
        const std::string second = before + std::string(pair.substr(pair.find('~') + 1));
        EXPECT_EQ(Translated(translator, second, Literals::Lifted), Lifted(second));
    }
}

TEST(Translator, KeepsLiteralsWhereAParameterWouldMeanSomethingElse) {
    for (const std::string_view sql : {
             "SELECT 1, 'a' AS 'b', (SELECT c FROM d WHERE e=2) FROM t GROUP BY 1, a+2 ORDER BY 2",
             "SELECT count(*) FILTER (WHERE a=1) FROM (SELECT 1) AS 'x'",
             "INSERT INTO 't' ('a') VALUES (x'00') ON CONFLICT ('a') WHERE b=1 DO NOTHING",
             "UPDATE 't' SET 'a'=0x1F, ('b','c')=x'01' RETURNING a+1",
             "SELECT a FROM t WHERE b COLLATE 'nocase'=t.'c' AND d IN 'u' AND e=4abc",
             "CREATE TABLE t (a varchar(10) DEFAULT 'x', CHECK (a<>'y'))",
             "PRAGMA cache_size = 5",
             "CREATE TEMP TRIGGER g AFTER INSERT ON t WHEN new.a=1 BEGIN UPDATE t SET a=CASE WHEN "
             "b=1 THEN 2 END; DELETE FROM t WHERE a=3; END",
         })
        EXPECT_EQ(Lifted(sql), sql);
}

TEST(Translator, ReadsNumbersAsTheEngineDoes) {
    Database db("CREATE TABLE t (a)");
    db.Run("INSERT INTO t VALUES (1)");
    for (const std::string value :
         {"9223372036854775807", "9223372036854775808", "-9223372036854775808",
          "- 9223372036854775808", "-9223372036854775809", "1e5", "1E+5", "1.", ".5", "00012",
          "1e999", "-1e999", "1e-400", "123456789.987654321", "0x7fffffffffffffff", "1abc"}) {
        const std::string probe = "UPDATE t SET a=" + value + " RETURNING a, typeof(a)";
        EXPECT_EQ(db.RunTranslated(probe, Literals::Lifted), db.Run(probe)) << value;
    }
    EXPECT_EQ(Lifted("VALUES (9223372036854775807)"), "VALUES (?) | 9223372036854775807");
    EXPECT_EQ(Lifted("VALUES (18446744073709551616)"), "VALUES (?) | r18446744073709551616.000000");
}

TEST(Translator, LiftsNoMoreThanAStatementMayHaveParameters) {
    std::string sql = "VALUES (0";
    for (int i = 1; i < 1200; ++i)
        sql += ",'" + std::to_string(i) + "'";
    Translator translator;
    const Translation translation = translator.Translate(sql += ")", Literals::Lifted);
    EXPECT_EQ(translation.literals.size(), Translator::kMostLifted);
    EXPECT_TRUE(translation.text.ends_with(",?,'900'" + sql.substr(sql.find(",'901'"))));
}

TEST(Translator, RefusesWhatMustNotReachTheEngine) {
    Translator translator;
    // The trouble starts behind the ^; a ~ stands for a NUL byte.
    for (std::string sql :
         {"^", "^ ; /* nothing */ -- at all", "SELECT ^'abc''", "SELECT ^N'", "SELECT ^x'0",
          "SELECT ^[a]] FROM t", "SELECT ^\"a", "SELECT ^/* /* */ 1", "SELECT ^?",
          "SELECT a FROM t WHERE b=^:a", "SELECT ^@a", "SELECT ^$a", "SELECT * FROM ^#t",
          "SELECT 'a^~b'", "SELECT 1; ^SELECT 2",
          "SET TRANSACTION ISOLATION LEVEL SNAPSHOT; ^DROP TABLE t",
          "DELETE FROM t;;/**/^DROP TABLE t", "CREATE TABLE t (a); ^END;",
          "CREATE TRIGGER g AFTER INSERT ON t BEGIN DELETE FROM t; END; ^DROP TABLE t"}) {
        const std::size_t position = sql.find('^');
        sql.erase(position, 1);
        std::replace(sql.begin(), sql.end(), '~', '\0');
        const std::string result = Translated(translator, sql, Literals::Lifted);
        EXPECT_TRUE(result.starts_with("refused") &&
                    result.ends_with(" at " + std::to_string(position)))
            << sql << ": " << result;
        EXPECT_EQ(Translated(translator, "VALUES (1)", Literals::Lifted), "VALUES (?) | 1");
    }
}

TEST(Dialect, AnswersQuestionsAboutTheCatalogue) {
    Database db(kSchema);
    for (const Literals mode : {Literals::Lifted, Literals::InPlace}) {
        const auto count = [&](const std::string& name) {
            return db.RunTranslated("SELECT count(*) FROM dbo.sysobjects WHERE id = OBJECT_ID(N'" +
                                        name + "')  AND OBJECTPROPERTY(id, N'IsUserTable')=1",
                                    mode);
        };
        for (const char* there : {"[dbo].[Groups]", "dbo.groups", "GROUPS", "db..Groups"})
            EXPECT_EQ(count(there), "count(*),i1,\n") << there;
        for (const char* missing :
             {"[dbo].[VersionHistory]", "Recent", "[dbo.Groups]", "", "it''s"})
            EXPECT_EQ(count(missing), "count(*),i0,\n") << missing;
        EXPECT_EQ(db.RunTranslated("SELECT o.xtype FROM [dbo].[sysobjects] AS o WHERE "
                                   "dbo.OBJECTPROPERTY ( OBJECT_ID('Groups'), 'isusertable') = 1 "
                                   "AND OBJECTPROPERTY(OBJECT_ID('Recent'),'IsUserTable') = 0 "
                                   "AND o.name = 'Recent'",
                                   mode),
                  "xtype,tV,\n");
        EXPECT_EQ(db.RunTranslated("SELECT sysobjects.name FROM dbo.sysobjects LIMIT 0", mode),
                  "name,");
    }
}

TEST(Dialect, RunsTheStatementsOfTheLibrary) {
    Database lifted(kSchema), inPlace(kSchema);
    for (int round = 0; round < 2; ++round) {
        for (const std::string_view sql : kStatements) {
            const std::string result = lifted.RunTranslated(sql, Literals::Lifted);
            EXPECT_FALSE(result.starts_with("refused")) << sql;
            EXPECT_EQ(result, inPlace.RunTranslated(sql, Literals::InPlace)) << sql;
        }
    }
}

// One of the pieces of `list`, which stand between ~.
std::string_view Any(std::mt19937& random, std::string_view list) {
    auto skipped = random() % static_cast<unsigned>(1 + std::count(list.begin(), list.end(), '~'));
    for (; skipped > 0; --skipped)
        list.remove_prefix(list.find('~') + 1);
    return list.substr(0, list.find('~'));
}

// A random statement, written twice: as a program might give it, with everything that needs a
// translation, and as SQLite reads it.
class Author {
  public:
    explicit Author(unsigned seed) : random_(seed) {
        Write(Any("INSERT INTO $T ( $A , $B ) VALUES ( - $L , $L ),( $L , 1 ) RETURNING *~"
                  "INSERT INTO $T ( $B ) SELECT $L FROM $T WHERE $E RETURNING $A , $B~"
                  "UPDATE $T SET $A = $E , $B = $E WHERE $E RETURNING *~"
                  "DELETE FROM $T WHERE $E RETURNING $B~"
                  "SELECT $E AS c1, t . a AS $B FROM $T WHERE $E ORDER BY 1, 2, a LIMIT 7~"
                  "SELECT 1 , t.a , x FROM $T JOIN ( SELECT 5 AS five, 'x' AS x) AS d ON $E~"
                  "WITH c AS ( SELECT a , $E AS $B FROM $T ) SELECT * FROM c WHERE $E OR $B = $L~"
                  "SELECT $A , count(*), $E AS d FROM $T GROUP BY 1, 3 HAVING $E ORDER BY 1, 3"),
              3);
        given += Any(";~ ; ;~");
    }

    std::string given, plain;

  private:
    std::string_view Any(std::string_view list) { return dialect::Any(random_, list); }

    // Word by word, with blanks and comments of all sorts in what is given. Instead of $T goes a
    // table, of $A and $B a column, of $L a literal, of $E an expression.
    void Write(std::string_view form, int depth) {
        for (std::size_t end; !form.empty(); form.remove_prefix(std::min(end + 1, form.size()))) {
            end = std::min(form.find(' '), form.size());
            given += Any(" ~ ~ ~\t~\n~  ~ /* ' ; ? */ ~/*/* [ */ \" */~ -- it's ; ? */\n");
            plain += ' ';
            const std::string word(form.substr(0, end));
            if (word == "$T") {
                given += Any("dbo.~[dbo].~DBO /**/ . ~\"dbo\".~");
                Name("t");
                given += Any(" WITH (ROWLOCK)~ with(nolock , READPAST)~ WITH ( INDEX(a, 3))~");
            } else if (word == "$A" || word == "$B") {
                Name(word == "$A" ? "a" : "b c");
            } else if (word == "$L") {
                Literal();
            } else if (word == "$E") {
                Expression(depth - 1);
            } else {
                given += word;
                plain += word;
            }
        }
    }

    void Name(const std::string& name) {
        plain += '"' + name + '"';
        given += Any("[~\"") == "[" ? '[' + name + ']' : '"' + name + '"';
    }

    void Literal() {
        std::string text(Any("'~0~1~2~17~1.5~.25~3.~2e2~9223372036854775807~9223372036854775808"));
        if (text == "'" || Any("text~number") == "text") {
            text = "'";
            for (auto i = random_() % 4; i > 0; --i)
                text += Any("WITH (NOLOCK)~dbo.~N''~''~--~/*~*/~;~?~:a~[~\"~OBJECT_ID(~x~ß~1~%~ ");
            text += '\'';
            given += Any("N~");
        }
        given += text;
        plain += text;
    }

    void Expression(int depth) {
        if (depth <= 0) return Write(Any("$A~$B~$L~$L~$L"), 0);
        const std::string form(Any(
            "CAST ( $E AS varchar(10))~$E IN ( $L , $L )~$E IN ( $L )~- $L BETWEEN $L AND $E~"
            "CASE WHEN $E THEN $L ELSE $E END~SELECT $E FROM $T WHERE $E LIMIT 1~$E + $E~"
            "$E - $L~$E = $E~$E <> $L~$E >= $L~$E AND $E~$E OR $E~$E || $L~$E LIKE $L~$E IS NOT "
            "$L~$E - - $E~$E = $L COLLATE NOCASE~- 9223372036854775808~EXISTS ( SELECT $L )"));
        Write("( " + form + " )", depth);
    }

    std::mt19937 random_;
};

TEST(Dialect, AnswersRandomStatementsAsTheirPlainTextIsAnswered) {
    Database db(
        "CREATE TABLE t (a, \"b c\" TEXT); INSERT INTO t VALUES (1, 'x'), (2.5, 'dbo.'),"
        "(NULL, '17'), ('X', NULL), (17, ''), (-1, ';')");
    int answered = 0;
    for (unsigned seed = 1; seed <= 700; ++seed) {
        Author author(seed);
        const auto run = [&](std::optional<Literals> mode) {
            db.Run("BEGIN");
            std::string result =
                mode ? db.RunTranslated(author.given, *mode) : db.Run(author.plain);
            db.Run("ROLLBACK");
            return result;
        };
        const std::string expected = run({});
        answered += !expected.starts_with("refused");
        for (const Literals mode : {Literals::Lifted, Literals::InPlace})
            ASSERT_EQ(run(mode), expected) << "seed " << seed << "\n" << author.given;
    }
    EXPECT_GT(answered, 600);
}

// A text that was a statement once, or never.
std::string Garbled(std::mt19937& random) {
    const auto pick = [&](std::size_t count) { return random() % count; };
    std::string text;
    if (pick(4) > 0) text = kStatements[pick(std::size(kStatements))];
    for (std::size_t edits = pick(6) + text.empty() * 8; edits > 0; --edits) {
        const std::size_t at = pick(text.size() + 1);
        if (pick(4) == 0)
            text.erase(at, pick(12));
        else if (pick(3) == 0)
            text.insert(at, 1, static_cast<char>(pick(256)));
        else
            text.insert(at, Any(random,
                                "'~''~N'~\"~[~]~--~/*~*/~;~(~)~,~.~=~-~ ~dbo.~[dbo].~WITH (~WITH "
                                "(NOLOCK)~WITH~NOLOCK~INDEX(~SET~SELECT~FROM~WHERE~AS~IN~VALUES (~"
                                "CAST(~ON CONFLICT~ORDER BY~BEGIN~END;~CREATE TRIGGER x BEGIN~1~?~"
                                "dbo.sysobjects~OBJECT_ID~OBJECT_ID('a')~COLLATE~1e9~x'00'~"
                                "OBJECTPROPERTY(~,'IsUserTable')~9223372036854775808"));
    }
    return text;
}

TEST(Dialect, SurvivesAnyTextAndRemembersShapesRightly) {
    Translator seasoned, second;
    for (unsigned seed = 1; seed <= 8000; ++seed) {
        std::mt19937 random(seed);
        const std::string text = Garbled(random);
        const std::string afresh = Lifted(text);
        // Twice: the second time from memory.
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(Translated(seasoned, text, Literals::Lifted), afresh) << "seed " << seed;
        const std::string once = InPlace(text);
        if (once.starts_with("refused")) continue;
        ASSERT_EQ(Translated(second, once, Literals::InPlace), once) << "seed " << seed;
    }
}

}  // namespace
}  // namespace mersola::dialect

// Tests of the translation from the server's statements to SQLite's: by what it writes, by what
// the engine answers, and by random statements.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "dialect/translator.h"

namespace mersola::dialect {
namespace {

// What comes of a text, in words. The text is read from a buffer of exactly its size, so that a
// sanitizer sees every byte too far.
std::string Translated(Translator& translator, std::string_view sql,
                       Literals mode = Literals::Lifted) {
    const auto exact = std::make_unique<char[]>(sql.size());
    std::copy(sql.begin(), sql.end(), exact.get());
    try {
        const Translation translation = translator.Translate({exact.get(), sql.size()}, mode);
        std::string result(translation.noOperation ? "nothing" : translation.text);
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

std::string Translated(std::string_view sql, Literals mode = Literals::Lifted) {
    Translator translator;
    return Translated(translator, sql, mode);
}

// The names of the columns and the rows with their types, or the engine's refusal.
std::string Answered(const char* schema, std::string_view sql,
                     std::span<const Literal> literals = {}) {
    sqlite3* db = nullptr;
    sqlite3_open(":memory:", &db);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> open(db, sqlite3_close);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    EXPECT_EQ(sqlite3_exec(db, schema, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_stmt* run = nullptr;
    sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &run, nullptr);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> ready(run, sqlite3_finalize);
    if (!run) return "refused " + std::to_string(sqlite3_errcode(db));
    EXPECT_EQ(static_cast<std::size_t>(sqlite3_bind_parameter_count(run)), literals.size());
    for (int i = 0; const auto& [kind, integer, real, text] : literals) {
        const int size = static_cast<int>(text.size());
        if (kind == Literal::Kind::Integer) sqlite3_bind_int64(run, ++i, integer);
        if (kind == Literal::Kind::Real) sqlite3_bind_double(run, ++i, real);
        if (kind == Literal::Kind::Text) sqlite3_bind_text(run, ++i, text.data(), size, nullptr);
    }
    std::string result;
    for (int i = 0; i < sqlite3_column_count(run); ++i)
        result.append(sqlite3_column_name(run, i)) += ',';
    while (sqlite3_step(run) == SQLITE_ROW) {
        for (int i = 0; i < sqlite3_column_count(run); ++i) {
            result += "?iftbn"[sqlite3_column_type(run, i)];
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(run, i));
            result.append(text ? text : "null") += ',';
        }
        result += '\n';
    }
    const int code = sqlite3_errcode(db);
    return code == SQLITE_DONE ? result : "refused " + std::to_string(code);
}

TEST(Translator, DropsWhatOnlyTheServerKnows) {
    EXPECT_EQ(Translated("SET TRANSACTION ISOLATION LEVEL READ COMMITTED"), "nothing");
    EXPECT_EQ(Translated("set transaction isolation level repeatable read ;"), "nothing");
    EXPECT_EQ(Translated("SELECT c FROM[dbo].[a]]\"b] x WITH(NOLOCK,ForceSeek(i(c)))WHERE dbo.x.c"),
              "SELECT c FROM\"a]\"\"b\" x WHERE x.c");
    EXPECT_EQ(Translated("SELECT [a][b]N'c'N'd'[dbo].e,[dbo.x;'--?@]", Literals::InPlace),
              "SELECT \"a\" \"b\"'c' 'd'e,\"dbo.x;'--?@\"");
}

TEST(Translator, GivesStatementsOfOneShapeOneTextWithABoundedNumberOfParameters) {
    EXPECT_EQ(Translated("INSERT INTO t  WITH (ROWLOCK) (a,b,c) VALUES (-1,2.50,'x') -- 1"),
              "INSERT INTO t (a,b,c) VALUES (-?,?,?) | 1 | r2.500000 | 'x'");
    EXPECT_EQ(Translated("INSERT INTO t (a,b,c) /*2*/ VALUES\n(-.5,'',N'ß');"),
              "INSERT INTO t (a,b,c) VALUES (-?,?,?) | r0.500000 | '' | 'ß'");
    EXPECT_EQ(Translated("VALUES ('it''s',''''0x1)"), "VALUES (?,? 0x1) | 'it's' | '''");
    EXPECT_EQ(Translated("SELECT a FROM t WHERE b IN (1,2) AND c IN (SELECT 5 FROM u WHERE d=3) "
                         "AND e BETWEEN 1 AND CAST('7' AS decimal(10,2)) LIMIT 5"),
              "SELECT a FROM t WHERE b IN (?,?) AND c IN (SELECT 5 FROM u WHERE d=?) "
              "AND e BETWEEN ? AND CAST(? AS decimal(10,2)) LIMIT ? | 1 | 2 | 3 | 1 | '7' | 5");
    std::string many = "VALUES (1";
    for (int i = 0; i < 1200; ++i)
        many += ",'x'";
    EXPECT_EQ(std::ranges::count(Translated(many + ")"), '?'), long{Translator::kMostLifted});
}

TEST(Translator, RemembersAShapeOnlyWhereTheLiteralsDecideNothing) {
    const std::string before = "SELECT a FROM t WHERE b ";
    for (const std::string pair :
         {"LIKE'x'~LIKEN'x'", "LIKE'x'~LIKE5", "=OBJECT_ID(5)~=OBJECT_ID('t')", "=5~=5 OR 1",
          "=OBJECTPROPERTY(c,5)~=OBJECTPROPERTY(c,'IsUserTable')", "=-5~=-9223372036854775808",
          "=5~= /**/5", "=5~=5e5", "='a'~='a''b'"}) {
        Translator translator;
        Translated(translator, before + pair.substr(0, pair.find('~')));
        const std::string second = before + pair.substr(pair.find('~') + 1);
        EXPECT_EQ(Translated(translator, second), Translated(second));
    }
}

TEST(Translator, LeavesAloneWhatItDoesNotKnowAndWhereAParameterWouldMeanSomethingElse) {
    for (const std::string_view sql :
         {"SELECT Größe,a$1 FROM t WITH (FILLFACTOR)",
          "DELETE FROM t WITH (NOLOCK x WITH (NOLOCK))",
          "SELECT count(*) FILTER (WHERE a=1) FROM (SELECT 1) AS 'x'",
          "INSERT INTO 't' ('a') VALUES (x'00') ON CONFLICT ('a') WHERE b=1 DO NOTHING",
          "UPDATE 't' SET 'a'=0x1F, ('b','c')=x'01' RETURNING a+1",
          "SELECT a FROM t WHERE b COLLATE 'nocase'=t.'c' AND d IN 'u' AND e=4abc",
          "CREATE TABLE t (a varchar(10) DEFAULT 'x', CHECK (a<>'y'))",
          "SET TRANSACTION ISOLATION LEVEL SNAPSHOT ON", "SET TRANSACTION ISOLATION LEVEL 5",
          "CREATE TEMP TRIGGER g AFTER INSERT ON t WHEN new.a=1 BEGIN UPDATE t SET a=CASE WHEN "
          "b=1 THEN 2 END; DELETE FROM t WHERE a=3; END"})
        EXPECT_EQ(Translated(sql), sql);
}

TEST(Translator, RefusesWhatMustNotReachTheEngine) {
    Translator translator;
    // The trouble starts behind the ^; a ~ stands for a NUL byte.
    for (std::string sql :
         {"^ ; /* nothing */ -- at all", "SELECT ^'abc''", "SELECT ^x'0", "SELECT ^[a]] FROM t",
          "SELECT ^/* /* */ 1", "SELECT ^?", "SELECT ^:a", "SELECT ^$a", "SELECT * FROM ^#t",
          "SELECT 'a^~b'", "SET TRANSACTION ISOLATION LEVEL SNAPSHOT; ^DROP TABLE t",
          "DELETE FROM t;;/**/^DROP TABLE t", "CREATE TABLE t (a); ^END;",
          "CREATE TRIGGER g AFTER INSERT ON t BEGIN DELETE FROM t; END; ^DROP TABLE t"}) {
        const std::size_t position = sql.find('^');
        sql.erase(position, 1);
        std::replace(sql.begin(), sql.end(), '~', '\0');
        const std::string result = Translated(translator, sql);
        EXPECT_TRUE(result.ends_with(" at " + std::to_string(position))) << sql << ": " << result;
        EXPECT_EQ(Translated(translator, "VALUES (1)"), "VALUES (?) | 1");
    }
}

TEST(Dialect, AnswersQuestionsAboutTheCatalogue) {
    Translator translator;
    const auto answer = [&](const std::string& sql) {
        const Translation translation = translator.Translate(sql, Literals::Lifted);
        return Answered("CREATE TABLE Groups (a); CREATE VIEW Recent AS SELECT * FROM Groups",
                        translation.text, translation.literals);
    };
    std::string counts;
    for (const std::string name : {"[dbo].[Groups]", "dbo.groups", "GROUPS", "db..Groups", "Recent",
                                   "[dbo.Groups]", "", "it''s"})
        counts += answer("SELECT count(*) AS n FROM dbo.sysobjects WHERE id = OBJECT_ID(N'" + name +
                         "')  AND OBJECTPROPERTY(id, N'IsUserTable')=1")
                      .substr(2, 2);
    EXPECT_EQ(counts, "i1i1i1i1i0i0i0i0");
    EXPECT_EQ(answer("SELECT o.xtype FROM [dbo].[sysobjects] AS o WHERE "
                     "dbo.OBJECTPROPERTY ( OBJECT_ID('Groups'), 'isusertable') = 1 "
                     "AND OBJECTPROPERTY(OBJECT_ID('Recent'),'IsUserTable') = 0 "
                     "AND o.name = 'Recent'"),
              "xtype,tV,\n");
    EXPECT_EQ(answer("SELECT sysobjects.name FROM dbo.sysobjects LIMIT 0"), "name,");
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
        std::string text(
            Any("'~0~1~2~0017~1.5~.25~3.~2E+2~1e-400~9e999~123456789.987654321~0x1F~"
                "9223372036854775807~9223372036854775808~9223372036854775809"));
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
    const char* rows =
        "CREATE TABLE t (a, \"b c\" TEXT); INSERT INTO t VALUES (1, 'x'), (2.5, 'dbo.'),"
        "(NULL, '17'), ('X', NULL), (17, ''), (-1, ';')";
    Translator translator;
    int answered = 0;
    for (unsigned seed = 1; seed <= 700; ++seed) {
        const Author author(seed);
        const std::string expected = Answered(rows, author.plain);
        answered += !expected.starts_with("refused");
        for (const Literals mode : {Literals::Lifted, Literals::InPlace}) {
            const Translation told = translator.Translate(author.given, mode);
            ASSERT_EQ(Answered(rows, told.text, told.literals), expected) << seed << "\n"
                                                                          << author.given;
        }
    }
    EXPECT_GT(answered, 600);
}

// A text that was a statement once, or never.
std::string Garbled(std::mt19937& random) {
    const auto pick = [&](std::size_t count) { return random() % count; };
    std::string text;
    if (pick(4) > 0) text = Author(static_cast<unsigned>(pick(12))).given;
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
        const std::string afresh = Translated(text);
        // Twice: the second time from memory.
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(Translated(seasoned, text), afresh) << "seed " << seed;
        const std::string once = Translated(text, Literals::InPlace);
        if (once.starts_with("refused")) continue;
        ASSERT_EQ(Translated(second, once, Literals::InPlace), once) << "seed " << seed;
    }
}

}  // namespace
}  // namespace mersola::dialect

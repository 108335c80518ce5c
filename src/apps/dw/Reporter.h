#pragma once

#include "apps/dw/CommandFailure.h"

#include <QSet>
#include <QString>

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace driftwell::dw {

template <class Record> class JsonTable;

/// Where a command's words go: data to standard output, everything else to standard error. Colours and the progress
/// line only on a terminal that is not "dumb", colours not where NO_COLOR is set (https://no-color.org). On a terminal,
/// what it would obey or turn around is shown as "?", whoever sent it.
class Reporter {
public:
    enum class Form { Text, Json };
    /// Quiet: no sentence that is not needed to go on, and no progress.
    enum class Manner { Usual, Quiet };

    explicit Reporter(Form form, Manner manner = Manner::Usual);
    ~Reporter();
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    [[nodiscard]] Form form() const { return m_form; }
    [[nodiscard]] bool outputIsTerminal() const { return m_outputIsTerminal; }
    /// The width of the terminal on standard output; 80 where it does not tell.
    [[nodiscard]] static int outputColumns();

    /// Data as it is: help, a script.
    void text(const std::string& bytes);

    /// One line of data. Nothing in JSON form.
    void line(const std::string& bytes);

    /// The one JSON object of a successful command, what the table makes of the record. Nothing in text form.
    template <class Record> void object(const JsonTable<Record>& table, const Record& record) {
        if (m_form == Form::Json) {
            writeObject(true, table.object(record));
        }
    }

    /// A sentence for the person. Nothing in JSON form, and nothing for whoever wants it quiet.
    void message(const QString& text);

    /// A sentence that the person needs to go on, and so in JSON form too.
    void notice(const QString& text);

    /// A good end, marked as such. Nothing in JSON form, and nothing for whoever wants it quiet.
    void success(const QString& text);

    /// A notice that is needed once, however often there is reason for it.
    void noticeOnce(const QString& text);

    /// Replaces the progress line. Where there is none, the stage, the part of the text that does not count, is said in
    /// a line of its own when it begins, unless for JSON or whoever wants it quiet.
    void progress(const QString& text, const QString& stage);
    void progress(const QString& text) { progress(text, text); }

    /// That something is waited for, on the progress line alone, and only where nothing better stands there.
    void waiting(const QString& text);
    void endWaiting();

    /// Whether there is a person who reads questions and can answer them.
    [[nodiscard]] bool canAsk() const;

    /// A sentence, and in the next line a question, which the person ends with an answer.
    void question(const QString& sentence, const QString& text);

    /// The person has ended it.
    void answered() { m_questionOpen = false; }

    /// A failed end: in JSON form the one object, otherwise a message with its hint.
    void failure(const CommandFailure& failure);

    /// False when standard output could not take all that was written to it, which is then said.
    [[nodiscard]] bool flush();

private:
    void writeObject(bool ok, const nlohmann::ordered_json& fields);
    void writeError(const char* colour, const QString& mark, const QString& text);
    void beginLine();
    void noteOutputFailure();

    Form m_form;
    Manner m_manner;
    bool m_outputIsTerminal;
    bool m_errorIsTerminal;
    bool m_progressWanted;
    bool m_colours;
    /// The errno of the first failed write to standard output.
    int m_outputFailure = 0;
    QString m_progressShown;
    bool m_isWaitingShown = false;
    /// The last stage that was said in a line of its own.
    QString m_stageTold;
    QSet<QString> m_noticed;
    bool m_questionOpen = false;
};

} // namespace driftwell::dw

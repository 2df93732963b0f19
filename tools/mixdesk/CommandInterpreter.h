#pragma once

#include <QString>

#include <optional>

class AutoCut;
class ShowModel;

// The commands of the headless stand-in, one per line:
//   preview N, program N, cut, rename N NAME, add NAME, remove N,
//   autocut SECONDS, list, quit
// N is a shot's position in the list as `list` shows it, from 1. A command
// that cannot be carried out changes nothing and prints why on standard
// error; the next command is read as usual.
class CommandInterpreter {
public:
    enum class Outcome { Continue, Quit };

    CommandInterpreter(ShowModel& model, AutoCut& autoCut);

    Outcome execute(const QString& line);

    // One line per command, for --help.
    static QString usage();

private:
    struct Words {
        QString command; // lower case, for matching
        QString typed; // as typed, for messages
        QString rest;
    };

    static Words split(const QString& line);
    static std::optional<int> number(const QString& text, int lowest, int highest);
    std::optional<int> position(const Words& words, const QString& text) const;
    bool expectNothingAfter(const Words& words) const;
    static void complain(const QString& message);

    void preview(const Words& words);
    void program(const Words& words);
    void cut(const Words& words);
    void rename(const Words& words);
    void add(const Words& words);
    void remove(const Words& words);
    void autoCut(const Words& words);
    void list(const Words& words) const;

    ShowModel& m_model;
    AutoCut& m_autoCut;
};

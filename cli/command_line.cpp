#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

#include "platform/utf8.h"

namespace tavelin::cli {
namespace {

constexpr const char* kDescription =
    "タヴェリン: ウィンドウを使わない計測エンジン\n"
    "模擬デバイス: KVR_SIMULATION にシミュレーションファイルを指定します (docs/simulation.md)";

// Comments and folders go into settings files and logs: they must be text.
const CLI::Validator kUtf8Text(
    [](std::string& value) {
      return IsValidUtf8(value)
                 ? std::string()
                 : std::string(
                       "UTF-8 の文字列ではありません。端末の文字コードを UTF-8 にしてください");
    },
    "");

// A number option's text, checked before it is converted: a word that is
// no number is said to be none, and the range is said in plain numbers.
CLI::Validator NumberIn(double least, double most, bool whole, bool leastIncluded = true) {
  const auto plain = [](double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed;
    text.precision(value == static_cast<double>(static_cast<long long>(value)) ? 0 : 3);
    text << value;
    return text.str();
  };
  std::string range = leastIncluded ? plain(least) + " から " + plain(most) + " まで"
                                    : plain(least) + " より大きく " + plain(most) + " まで";
  range += whole ? "の整数" : "の数";
  return CLI::Validator(
      [=](std::string& value) -> std::string {
        std::size_t used = 0;
        double number = 0.0;
        try {
          number = std::stod(value, &used);
        } catch (const std::exception&) {
          used = 0;
        }
        const bool digits = value.find_first_not_of("+-0123456789") == std::string::npos;
        if (used == 0 || used != value.size() || !std::isfinite(number)) {
          return "数ではありません: " + value;
        }
        const bool inside = (leastIncluded ? number >= least : number > least) && number <= most;
        if (!inside || (whole && !digits)) {
          return range + "を指定してください: " + value;
        }
        return {};
      },
      "");
}

// An option whose text goes into settings, logs or the broker: UTF-8 only.
void AddTextOption(CLI::App& command, const char* name, std::optional<std::string>& value,
                   const char* help, const char* typeName) {
  command.add_option(name, value, help)->check(kUtf8Text)->type_name(typeName);
}

void AddFormatOption(CLI::App& command, std::optional<int32_t>& format, const char* help) {
  command
      .add_option_function<std::string>(
          "--format", [&format](const std::string& name) { format = name == "xls" ? 1 : 2; }, help)
      ->check(CLI::IsMember({"csv", "xls"}).description(""))
      ->type_name("csv|xls");
}

void AddRunOptions(CLI::App& command, RunOptions& run) {
  command.add_option("--mode", run.mode, "表示モード: 1、2 ビット LED、3 デジタル値、4 アナログ値")
      ->check(NumberIn(1, 4, true))
      ->type_name("N")
      ->default_val(1);
  command.add_option("--seconds", run.seconds, "S 秒間計測します (既定: Ctrl+C まで)")
      ->check(NumberIn(0, 31536000, false, false))
      ->type_name("S");
  command.add_flag("--analysis", run.analysis, "すべての入力の最大値・最小値・平均値を求めます");
}

void AddLogOptions(CLI::App& command, RunOptions& run) {
  command.add_option("--sampling", run.samplingMs, "MS ミリ秒ごとに 1 行記録します")
      ->check(NumberIn(1, 3600000, true))
      ->type_name("MS");
  AddTextOption(command, "--folder", run.folder, "ログを既存のフォルダー DIR に書きます", "DIR");
  AddTextOption(command, "--comment", run.comment,
                "ログのコメント (接続と同じく 50 文字で切ります)", "TEXT");
  command.add_flag("--subfolder", run.subFolder, "計測ごとにコメント名のフォルダーを作ります");
  AddFormatOption(command, run.format, "ログの形式: csv、または xls のワークブック");
}

// The broker's options, for record and for publish.
void AddPublishOptions(CLI::App& command, PublishOptions& publish) {
  AddTextOption(command, "--publish", publish.url,
                "記録する行を MQTT ブローカーにも送ります (mqtts:// は TLS)。パスワードは "
                "--password-file か環境変数 TAVELIN_MQTT_PASSWORD で渡します",
                "mqtt://[USER@]HOST[:PORT]/PREFIX");
  AddTextOption(command, "--bench", publish.bench, "ベンチ名: トピックは PREFIX/NAME/rows", "NAME");
  AddTextOption(command, "--ca", publish.caFile,
                "mqtts: 信頼する CA 証明書 (既定: システムの証明書)", "FILE");
  AddTextOption(command, "--password-file", publish.passwordFile,
                "パスワードを 1 行目に書いたファイル", "FILE");
  command
      .add_option_function<std::string>(
          "--mqtt-version",
          [&publish](const std::string& version) { publish.mqttVersion = version == "5" ? 5 : 4; },
          "MQTT のバージョン (既定: 3.1.1)")
      ->check(CLI::IsMember({"3.1.1", "5"}).description(""))
      ->type_name("3.1.1|5");
}

}  // namespace

namespace {

// The library's own errors, said in the program's language; the detail
// (option names, the words given) follows as the library gives it.
std::string JapaneseError(const CLI::Error& error) {
  static const std::pair<const char*, const char*> kKinds[] = {
      {"ExcludesError", "一緒に指定できないオプションです"},
      {"ExtrasError", "余分な引数があります"},
      {"RequiredError", "必要な指定がありません"},
      {"ConversionError", "値を読めません"},
      {"ArgumentMismatch", "値の数が合いません"},
      {"InvalidError", "オプションの指定が正しくありません"},
  };
  for (const auto& [kind, said] : kKinds) {
    if (error.get_name() == kind) return std::string(said) + ": " + error.what();
  }
  const std::string what = error.what();
  // Our own validators' messages start with the option's name and speak Japanese already.
  if (what.rfind("--", 0) == 0) return what;
  return "指定が正しくありません: " + what;
}

}  // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& words) {
  CommandLine line;
  CLI::App app(kDescription, "tavelin-cli");
  // Japanese as the window speaks; the options keep their names.
  app.option_defaults()->group("オプション");
  app.set_help_flag("-h,--help", "この説明を表示して終了します");
  app.get_formatter()->label("Usage", "使い方");
  app.get_formatter()->label("OPTIONS", "オプション");
  app.get_formatter()->label("Options", "オプション");
  app.get_formatter()->label("SUBCOMMAND", "コマンド");
  app.get_formatter()->label("SUBCOMMANDS", "コマンド");
  app.get_formatter()->label("Subcommands", "コマンド");
  app.get_formatter()->label("REQUIRED", "必須");
  app.get_formatter()->label("Excludes", "併用できない");
  app.require_subcommand(1);
  app.fallthrough(false);
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return JapaneseError(error) + "\n使い方は --help で表示されます。\n";
  });
  app.set_version_flag("--version", std::string("tavelin-cli ") + TAVELIN_VERSION,
                       "バージョンを表示して終了します");

  CLI::App* monitor =
      app.add_subcommand("monitor", "デバイスを開き、計測を端末に表示します。Ctrl+C で切断します");
  AddRunOptions(*monitor, line.run);

  CLI::App* record = app.add_subcommand(
      "record",
      "ログを取る計測を S 秒間または Ctrl+C まで行い、設定の場所か --folder に csv か .xls の"
      "ログを書きます");
  AddRunOptions(*record, line.run);
  AddLogOptions(*record, line.run);
  AddPublishOptions(*record, line.publish);

  CLI::App* settings = app.add_subcommand(
      "settings", "設定ファイルを表示し、表示モードを変え、または既定値に戻します");
  CLI::Option* reset = settings->add_flag(
      "--reset", line.settings.reset,
      "設定ファイルを既定値で書き直します (使用許諾は次の起動時にもう一度尋ねます)");
  settings->add_option("--view", line.settings.view, "プログラムが開く表示モード")
      ->check(NumberIn(1, 4, true))
      ->type_name("N")
      ->excludes(reset);

  CLI::App* recover = app.add_subcommand(
      "recover",
      "途中で終わった計測 (異常終了、kill、停電) の行を、ジャーナルから設定の場所か --folder "
      "のログファイルに書き出します");
  AddTextOption(*recover, "--folder", line.recover.folder, "ログを既存のフォルダー DIR に書きます",
                "DIR");
  recover->add_flag("--list", line.recover.list, "残っているジャーナルを一覧するだけにします");
  AddFormatOption(*recover, line.recover.format,
                  "計測の設定にかかわらず csv か xls で書き出します (書き出せない保存形式の行に)");

  CLI::App* devices =
      app.add_subcommand("devices",
                         "デバイスライブラリが見つけた USB-IO とプローブを一覧します "
                         "(方式、Ch、種類、準備、場所、状態)");
  devices->add_flag(
      "--check", line.checkDevices,
      "デバイスマップの各行に一度問い合わせ、応答しない行があれば状態 1 で終わります");

  CLI::App* publish = app.add_subcommand(
      "publish",
      "ブローカーに送れずに保留した行 (ブローカーが止まっていた計測の行) を、古い順に送ります");
  publish->add_flag("--drain", line.publish.drain, "保留した行をすべて送って終わります")
      ->required();
  AddPublishOptions(*publish, line.publish);
  publish
      ->add_option("--wait", line.publish.waitSeconds, "送り終えるのを最長 S 秒待ちます (既定 60)")
      ->check(NumberIn(0, 86400, false, false))
      ->type_name("S");

  for (CLI::App* command : {monitor, record, settings, recover, devices, publish}) {
    command->group("コマンド");
    command->set_help_flag();
    command->option_defaults()->group("オプション");
    command->set_help_flag("-h,--help", "この説明を表示して終了します");
  }

  const auto known = [&](const std::string& name) {
    for (const CLI::App* command : app.get_subcommands({})) {
      if (command->get_name() == name) return true;
    }
    return false;
  };
  if (!words.empty() && !words[0].empty() && words[0][0] != '-' && !known(words[0])) {
    line.exitStatus = 2;
    line.output = "tavelin-cli: そのようなコマンドはありません: " + words[0] + "\n\n" + app.help();
    return line;
  }
  std::vector<std::string> reversed(words.rbegin(), words.rend());
  std::ostringstream out, err;
  try {
    app.parse(reversed);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error, out, err);
    line.exitStatus = status == 0 ? 0 : 2;
    line.output = status == 0 ? out.str() : err.str();
    return line;
  }
  for (CLI::App* command : {monitor, record, settings, recover, devices, publish}) {
    if (command->parsed()) line.command = command->get_name();
  }
  return line;
}

}  // namespace tavelin::cli

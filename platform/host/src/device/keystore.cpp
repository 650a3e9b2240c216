/*
 * keystore.cpp - the typed GLib key files behind preferences, vconf and system_info.
 */
#include "host_internal.h"

#include <climits>
#include <cmath>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "dlog.h"

namespace zonhost {
namespace {

struct Group {
	Type type;
	const char *name;
};
// The order in which a key is looked for if a hand edit left it in two groups.
const Group kGroups[] = {
	{Type::Int, "int"},
	{Type::Double, "double"},
	{Type::Bool, "bool"},
	{Type::String, "string"},
};

const char *groupOf(Type type)
{
	for (const Group &g : kGroups) {
		if (g.type == type)
			return g.name;
	}
	return nullptr;
}

// Key-file keys can't hold '=', '[' or ']', lose surrounding blanks and turn into comments
// when they start with '#'; preference keys are arbitrary strings, so such bytes are %-escaped.
// Plain keys ("ZonDBChanged", "db/menu_widget/language") stay as they are.
std::string encodeKey(const char *key)
{
	std::string out;
	for (size_t i = 0; key[i]; ++i) {
		unsigned char c = (unsigned char)key[i];
		bool plain = c > 0x20 && c < 0x7f && c != '=' && c != '[' && c != ']' && c != '%' && !(i == 0 && c == '#');
		if (plain) {
			out += (char)c;
		} else {
			char hex[4];
			snprintf(hex, sizeof hex, "%%%02X", c);
			out += hex;
		}
	}
	return out;
}

std::string decodeKey(const char *stored)
{
	std::string out;
	for (size_t i = 0; stored[i]; ++i) {
		if (stored[i] == '%' && g_ascii_isxdigit(stored[i + 1]) && g_ascii_isxdigit(stored[i + 2])) {
			out += (char)(g_ascii_xdigit_value(stored[i + 1]) * 16 + g_ascii_xdigit_value(stored[i + 2]));
			i += 2;
		} else {
			out += stored[i];
		}
	}
	return out;
}

// Our own escaping rather than g_key_file_set_string(), which refuses to read back strings that
// are not UTF-8; an application may store any bytes.
std::string escapeString(const std::string &s)
{
	std::string out;
	size_t lead = 0;
	while (lead < s.size() && s[lead] == ' ')
		++lead;
	size_t trail = s.size();
	while (trail > lead && s[trail - 1] == ' ')
		--trail;
	for (size_t i = 0; i < s.size(); ++i) {
		char c = s[i];
		switch (c) {
		case '\\': out += "\\\\"; break;
		case '\n': out += "\\n"; break;
		case '\t': out += "\\t"; break;
		case '\r': out += "\\r"; break;
		case ' ': out += (i < lead || i >= trail) ? "\\s" : " "; break;
		default: out += c; break;
		}
	}
	return out;
}

std::string unescapeString(const char *raw)
{
	std::string out;
	for (size_t i = 0; raw[i]; ++i) {
		if (raw[i] != '\\' || !raw[i + 1]) {
			out += raw[i];
			continue;
		}
		switch (raw[++i]) {
		case 'n': out += '\n'; break;
		case 't': out += '\t'; break;
		case 'r': out += '\r'; break;
		case 's': out += ' '; break;
		case '\\': out += '\\'; break;
		default: out += '\\'; out += raw[i]; break;
		}
	}
	return out;
}

// Readers (other processes too) see the old or the new file, never a half-written one. No
// fsync: a desktop crash losing the last setting is acceptable, while syncing every preference
// write would make the test suites crawl.
// `written` gets the new file's status, taken before anyone else can replace it.
bool replaceFile(const std::string &path, const char *data, size_t length, struct stat *written)
{
	std::string tmp = path + ".XXXXXX";
	int fd = g_mkstemp_full(&tmp[0], O_WRONLY | O_CLOEXEC, 0644);
	if (fd < 0) {
		platformLog(DLOG_ERROR, "ZON_HOST", "cannot write %s: %s", path.c_str(), g_strerror(errno));
		return false;
	}
	size_t done = 0;
	while (done < length) {
		ssize_t n = write(fd, data + done, length - done);
		if (n < 0 && errno == EINTR)
			continue;
		if (n <= 0)
			break;
		done += (size_t)n;
	}
	int writeErrno = done == length ? 0 : errno;
	if (!writeErrno && fstat(fd, written) != 0)
		writeErrno = errno;
	if (close(fd) != 0 && !writeErrno)
		writeErrno = errno;
	if (!writeErrno && rename(tmp.c_str(), path.c_str()) != 0)
		writeErrno = errno;
	if (writeErrno) {
		unlink(tmp.c_str());
		platformLog(DLOG_ERROR, "ZON_HOST", "cannot write %s: %s", path.c_str(), g_strerror(writeErrno));
		return false;
	}
	return true;
}

// The shortest text that reads back as the same double: "0.1", not "0.10000000000000001".
std::string formatDouble(double d)
{
	char text[G_ASCII_DTOSTR_BUF_SIZE];
	for (const char *format : {"%.15g", "%.16g"}) {
		g_ascii_formatd(text, sizeof text, format, d);
		if (g_ascii_strtod(text, nullptr) == d)
			return text;
	}
	return g_ascii_formatd(text, sizeof text, "%.17g", d);
}

// GKeyFile keeps the blank line that ended a group when it was read and appends new keys after
// it; drop blank lines in front of keys so that a group stays one block.
std::string tidy(const char *data)
{
	std::string out;
	std::string pendingBlank;
	for (const char *line = data; *line;) {
		const char *end = strchr(line, '\n');
		size_t len = end ? (size_t)(end - line) : strlen(line);
		std::string text(line, len);
		line += len + (end ? 1 : 0);
		if (text.empty()) {
			pendingBlank += '\n';
			continue;
		}
		if (text[0] == '[' || text[0] == '#')
			out += pendingBlank;
		pendingBlank.clear();
		out += text;
		out += '\n';
	}
	return out;
}

// The journal of a journaled store, <path>.journal: a first line "#journal <generation>" naming
// the version of the key file it continues (the key file's own first line), then one line per
// change, "<checksum> set <group> <key> <value>" or "<checksum> del <key>", key and value in
// their key-file forms. Appends go in one write() under an exclusive lock, reads under a shared
// one, so a reader never sees half a change; a line torn by a crash fails its checksum and is
// skipped. When the journal grows past kJournalLimit it is folded into the key file (replaced
// by rename, with a new generation) and started afresh.
const char kGenerationTag[] = "#journal ";
const off_t kJournalLimit = 16 * 1024;

// FNV-1a: enough to tell a torn line from a whole one.
std::string checksum(const std::string &payload)
{
	guint32 h = 2166136261u;
	for (unsigned char c : payload)
		h = (h ^ c) * 16777619u;
	char hex[9];
	snprintf(hex, sizeof hex, "%08x", h);
	return hex;
}

class FileLock {
public:
	FileLock(int fd, int operation) : _fd(fd)
	{
		while (_fd >= 0 && flock(_fd, operation) != 0 && errno == EINTR) {
		}
	}
	~FileLock()
	{
		if (_fd >= 0)
			flock(_fd, LOCK_UN);
	}
	FileLock(const FileLock &) = delete;
	FileLock &operator=(const FileLock &) = delete;

private:
	int _fd;
};

std::string newGeneration()
{
	char hex[17];
	snprintf(hex, sizeof hex, "%08x%08x", g_random_int(), g_random_int());
	return hex;
}

// The text of a value as the key file holds it.
std::string storedText(const Value &value)
{
	switch (value.type) {
	case Type::Int: return std::to_string(value.i);
	case Type::Double: return formatDouble(value.d);
	case Type::Bool: return value.b ? "true" : "false";
	case Type::String: return escapeString(value.s);
	case Type::None: break;
	}
	return std::string();
}

} // namespace

struct KeyStore::Journal {
	std::string path;
	int fd = -1;
	ino_t ino = 0;
	// Bytes of the journal already applied to (or, unmatched, looked at by) the store.
	off_t offset = 0;
	// The first line names the generation of the key file as loaded.
	bool matched = false;
	// Of the key file as loaded; empty when it names none (never compacted, or edited by hand).
	std::string generation;
	// Changes made since the last save(), as journal payloads.
	std::vector<std::string> pending;
	// The key file as last read or written.
	std::string keyFileText;

	~Journal()
	{
		if (fd >= 0)
			close(fd);
	}
};

namespace {

// A forked child shares its parent's inotify descriptors, and with them the events: whichever
// process reads one takes it from the other. A watch made before a fork is not trusted after it.
unsigned g_forks = 0;
void countFork()
{
	++g_forks;
}

} // namespace

struct KeyStore::Watch {
	std::string dir;
	std::string name;
	int fd = -1;
	unsigned forks = 0;
	// The store in memory was read (or written) while the watch stood: until an event names the
	// file, it is what the file holds.
	bool covers = false;

	~Watch() { stop(); }

	void start()
	{
		static const bool atFork [[maybe_unused]] = pthread_atfork(nullptr, nullptr, countFork) == 0;
		fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
		if (fd < 0)
			return;
		const uint32_t events = IN_CREATE | IN_DELETE | IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE | IN_MOVED_FROM |
				IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
		if (inotify_add_watch(fd, dir.c_str(), events) < 0)
			stop();
		forks = g_forks;
	}

	void stop()
	{
		if (fd >= 0)
			close(fd);
		fd = -1;
		covers = false;
	}

	// True when nothing happened to the file since the last call; drains the events.
	bool quiet()
	{
		if (fd >= 0 && forks != g_forks)
			stop();
		if (fd < 0)
			return false;
		bool still = true;
		alignas(struct inotify_event) char buffer[4096];
		ssize_t n;
		while ((n = read(fd, buffer, sizeof buffer)) > 0) {
			for (ssize_t at = 0; at < n;) {
				const struct inotify_event *event = reinterpret_cast<const struct inotify_event *>(buffer + at);
				at += (ssize_t)(sizeof *event + event->len);
				if (event->mask & (IN_Q_OVERFLOW | IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT)) {
					stop();
					return false;
				}
				if (event->len && name == event->name)
					still = false;
			}
		}
		if (n < 0 && errno != EAGAIN && errno != EINTR) {
			stop();
			return false;
		}
		return still;
	}
};

bool Value::operator==(const Value &o) const
{
	if (type != o.type)
		return false;
	switch (type) {
	case Type::None: return true;
	case Type::Int: return i == o.i;
	case Type::Double: return d == o.d || (std::isnan(d) && std::isnan(o.d));
	case Type::Bool: return b == o.b;
	case Type::String: return s == o.s;
	}
	return false;
}

KeyStore::KeyStore(std::string path, std::string headerComment, bool journaled, bool watched)
	: _path(std::move(path)), _header(std::move(headerComment)), _file(g_key_file_new())
{
	if (watched) {
		_watch.reset(new Watch);
		gchar *dir = g_path_get_dirname(_path.c_str());
		gchar *name = g_path_get_basename(_path.c_str());
		_watch->dir = dir;
		_watch->name = name;
		g_free(dir);
		g_free(name);
	}
	if (journaled) {
		_journal.reset(new Journal);
		_journal->path = _path + ".journal";
	}
}

KeyStore::~KeyStore()
{
	g_key_file_free(_file);
}

bool KeyStore::Stamp::operator==(const Stamp &o) const
{
	if (exists != o.exists)
		return false;
	return !exists || (dev == o.dev && ino == o.ino && size == o.size && mtime.tv_sec == o.mtime.tv_sec &&
			mtime.tv_nsec == o.mtime.tv_nsec && ctime.tv_sec == o.ctime.tv_sec && ctime.tv_nsec == o.ctime.tv_nsec);
}

KeyStore::Stamp KeyStore::Stamp::of(const struct stat &st)
{
	Stamp s;
	s.exists = true;
	s.dev = st.st_dev;
	s.ino = st.st_ino;
	s.size = st.st_size;
	s.mtime = st.st_mtim;
	s.ctime = st.st_ctim;
	return s;
}

// File times come from a clock that ticks coarsely (a few milliseconds, a second on some file
// systems), so an in-place edit right after our read can leave every field of the stamp as it
// was. A stamp is trusted once its change time (which, unlike mtime, nobody can set back) is
// older than that; until then every load() reads the file again.
bool KeyStore::Stamp::settled() const
{
	if (!exists)
		return true;
	const long long kSettleNs = 1000000000LL;
	struct timespec now;
	clock_gettime(CLOCK_REALTIME, &now);
	long long age = (long long)(now.tv_sec - ctime.tv_sec) * 1000000000LL + (now.tv_nsec - ctime.tv_nsec);
	return age > kSettleNs;
}

void KeyStore::forget()
{
	_answers.clear();
	g_key_file_free(_file);
	_file = g_key_file_new();
	_current = false;
	if (_journal) {
		_journal->matched = false;
		_journal->offset = 0;
		_journal->generation.clear();
		_journal->keyFileText.clear();
	}
	if (_watch)
		_watch->covers = false;
}

bool KeyStore::load()
{
	if (!_journal) {
		bool reloaded;
		return loadFile(&reloaded);
	}
	openJournal(false);
	FileLock lock(_journal->fd, LOCK_SH);
	bool reloaded = false;
	if (!loadFile(&reloaded))
		return false;
	readJournal();
	return true;
}

bool KeyStore::loadFile(bool *reloaded)
{
	*reloaded = false;
	if (_watch) {
		if (_watch->quiet() && _watch->covers)
			return true;
		// Watching from before the look at the file, so no change after it goes unseen.
		if (_watch->fd < 0)
			_watch->start();
		_watch->covers = false;
	}
	const bool watching = _watch && _watch->fd >= 0;
	auto seen = [&]() {
		if (_watch)
			_watch->covers = watching;
		return true;
	};
	struct stat st;
	if (_current) {
		bool absent = stat(_path.c_str(), &st) != 0;
		if (absent ? errno == ENOENT && !_stamp.exists : _stamp == Stamp::of(st))
			return seen();
	}
	*reloaded = true;
	_answers.clear();
	int fd = open(_path.c_str(), O_RDONLY | O_CLOEXEC);
	if (fd < 0 && errno == ENOENT) {
		if (_current && !_stamp.exists) {
			*reloaded = false;
			return seen();
		}
		forget();
		_stamp = Stamp();
		_current = true;
		return seen();
	}
	const char *problem = nullptr;
	if (fd < 0 || fstat(fd, &st) != 0)
		problem = g_strerror(errno);
	else if (!S_ISREG(st.st_mode))
		problem = "Not a regular file";
	if (problem) {
		if (fd >= 0)
			close(fd);
		forget();
		platformLog(DLOG_ERROR, "ZON_HOST", "cannot read %s: %s", _path.c_str(), problem);
		return false;
	}
	Stamp now = Stamp::of(st);

	// Read through the descriptor that was stamped: a replacement arriving meanwhile has another
	// stamp and is read next time.
	std::string data;
	char chunk[8192];
	ssize_t n;
	while ((n = read(fd, chunk, sizeof chunk)) != 0) {
		if (n < 0 && errno == EINTR)
			continue;
		if (n < 0)
			break;
		data.append(chunk, (size_t)n);
	}
	int readErrno = n < 0 ? errno : 0;
	close(fd);
	// Our own fold, read again until its stamp settles: the same text is the same store, and the
	// journal applied on top of it still holds.
	if (_journal && !readErrno && _stamp.exists && data == _journal->keyFileText) {
		_stamp = now;
		_current = now.settled();
		*reloaded = false;
		return seen();
	}
	forget();
	// A journaled store's generation line is the journal's business, not a comment to keep.
	size_t skip = 0;
	const size_t tagLength = strlen(kGenerationTag);
	size_t eol = data.find('\n');
	if (_journal && data.compare(0, tagLength, kGenerationTag) == 0 && eol != std::string::npos) {
		_journal->generation = data.substr(tagLength, eol - tagLength);
		skip = eol + 1;
	}
	GError *error = nullptr;
	if (readErrno)
		g_set_error_literal(&error, G_FILE_ERROR, g_file_error_from_errno(readErrno), g_strerror(readErrno));
	else
		g_key_file_load_from_data(_file, data.data() + skip, data.size() - skip, G_KEY_FILE_KEEP_COMMENTS, &error);
	if (error) {
		platformLog(DLOG_ERROR, "ZON_HOST", "cannot read %s: %s", _path.c_str(), error->message);
		g_error_free(error);
		forget();
		return false;
	}
	if (_journal)
		_journal->keyFileText = std::move(data);
	_stamp = now;
	_current = now.settled();
	return seen();
}

bool KeyStore::save()
{
	if (!_journal)
		return saveFile();
	std::vector<std::string> changes;
	changes.swap(_journal->pending);
	gchar *dir = g_path_get_dirname(_path.c_str());
	bool dirOk = ensureDir(dir);
	g_free(dir);
	if (!dirOk || !openJournal(true)) {
		forget();
		return false;
	}
	FileLock lock(_journal->fd, LOCK_EX);
	// Other writers' changes first: ours go on top, in the order the journal will hold them.
	bool reloaded;
	if (!loadFile(&reloaded))
		return false;
	readJournal();
	for (const std::string &change : changes)
		applyChange(change);
	if (appendJournal(changes))
		return true;

	// Fold the journal into the key file under a new generation, then start the journal over.
	// Readers are locked out meanwhile; a crash in between leaves a key file that holds every
	// change and a journal of another generation, which is ignored.
	_journal->generation = newGeneration();
	if (!saveFile())
		return false;
	Journal &j = *_journal;
	std::string head = kGenerationTag + j.generation + "\n";
	struct stat st;
	if (ftruncate(j.fd, 0) != 0 || write(j.fd, head.data(), head.size()) != (ssize_t)head.size() ||
			fstat(j.fd, &st) != 0) {
		platformLog(DLOG_ERROR, "ZON_HOST", "cannot write %s: %s", j.path.c_str(), g_strerror(errno));
		j.matched = false;
		return true;
	}
	j.ino = st.st_ino;
	j.offset = st.st_size;
	j.matched = true;
	return true;
}

bool KeyStore::openJournal(bool create)
{
	Journal &j = *_journal;
	struct stat st;
	bool exists = stat(j.path.c_str(), &st) == 0;
	if (exists && j.fd >= 0 && st.st_ino == j.ino)
		return true;
	if (j.fd >= 0) {
		// Deleted or replaced behind our back: what we applied from it may be nowhere now.
		close(j.fd);
		j.fd = -1;
		forget();
	}
	if (!exists && !create)
		return true;
	int fd = open(j.path.c_str(), O_RDWR | O_APPEND | O_CLOEXEC | (create ? O_CREAT : 0), 0644);
	if (fd >= 0 && fstat(fd, &st) != 0) {
		close(fd);
		fd = -1;
	}
	if (fd < 0) {
		if (create)
			platformLog(DLOG_ERROR, "ZON_HOST", "cannot write %s: %s", _path.c_str(), g_strerror(errno));
		return !create;
	}
	j.fd = fd;
	j.ino = st.st_ino;
	return true;
}

void KeyStore::readJournal()
{
	Journal &j = *_journal;
	struct stat st;
	if (j.fd < 0 || fstat(j.fd, &st) != 0)
		return;
	if (st.st_size < j.offset) {
		// Cut short by hand: start again from the key file.
		forget();
		bool reloaded;
		if (!loadFile(&reloaded))
			return;
	}
	off_t from = j.offset;
	if (st.st_size == from || (!j.matched && from > 0)) {
		j.offset = st.st_size;
		return;
	}
	std::string data((size_t)(st.st_size - from), '\0');
	ssize_t n = pread(j.fd, &data[0], data.size(), from);
	if (n < 0)
		return;
	data.resize((size_t)n);
	size_t pos = 0;
	size_t eol;
	if (from == 0) {
		eol = data.find('\n');
		if (eol == std::string::npos)
			return;
		j.matched = !j.generation.empty() && data.compare(0, eol, kGenerationTag + j.generation) == 0;
		if (!j.matched) {
			j.offset = st.st_size;
			return;
		}
		pos = eol + 1;
	}
	const size_t kSum = 8;
	while ((eol = data.find('\n', pos)) != std::string::npos) {
		if (eol - pos > kSum + 1 && data[pos + kSum] == ' ') {
			std::string change = data.substr(pos + kSum + 1, eol - pos - kSum - 1);
			if (data.compare(pos, kSum, checksum(change)) == 0)
				applyChange(change);
		}
		pos = eol + 1;
	}
	j.offset = from + (off_t)pos;
}

// False when the journal can't take the changes: the key file names no generation, the journal
// continues another one, or it would outgrow its limit.
bool KeyStore::appendJournal(const std::vector<std::string> &changes)
{
	Journal &j = *_journal;
	struct stat st;
	if (j.generation.empty() || fstat(j.fd, &st) != 0 || !(j.matched || st.st_size == 0))
		return false;
	std::string text;
	if (st.st_size == 0)
		text = kGenerationTag + j.generation + "\n";
	else if (j.offset < st.st_size)
		text = "\n"; // ends a line torn by a crash, which then fails its checksum
	for (const std::string &change : changes)
		text += checksum(change) + " " + change + "\n";
	if (st.st_size + (off_t)text.size() > kJournalLimit)
		return false;
	if (write(j.fd, text.data(), text.size()) != (ssize_t)text.size())
		return false;
	j.offset = st.st_size + (off_t)text.size();
	j.matched = true;
	return true;
}

bool KeyStore::applyChange(const std::string &change)
{
	_answers.clear();
	if (change.compare(0, 4, "del ") == 0) {
		removeStored(change.substr(4));
		return true;
	}
	size_t groupEnd = change.find(' ', 4);
	size_t keyEnd = groupEnd == std::string::npos ? groupEnd : change.find(' ', groupEnd + 1);
	if (change.compare(0, 4, "set ") != 0 || keyEnd == std::string::npos)
		return false;
	std::string group = change.substr(4, groupEnd - 4);
	std::string stored = change.substr(groupEnd + 1, keyEnd - groupEnd - 1);
	for (const Group &g : kGroups) {
		if (group != g.name)
			continue;
		removeStored(stored);
		g_key_file_set_value(_file, g.name, stored.c_str(), change.c_str() + keyEnd + 1);
		return true;
	}
	return false;
}

bool KeyStore::saveFile()
{
	if (!_header.empty()) {
		gchar *top = g_key_file_get_comment(_file, nullptr, nullptr, nullptr);
		if (!top || !*top)
			g_key_file_set_comment(_file, nullptr, nullptr, _header.c_str(), nullptr);
		g_free(top);
	}
	gchar *dir = g_path_get_dirname(_path.c_str());
	bool dirOk = ensureDir(dir);
	g_free(dir);
	if (!dirOk) {
		forget();
		return false;
	}

	gsize length = 0;
	gchar *data = g_key_file_to_data(_file, &length, nullptr);
	std::string text = tidy(data);
	g_free(data);
	if (_journal && !_journal->generation.empty())
		text.insert(0, kGenerationTag + _journal->generation + "\n");
	if (_journal)
		_journal->keyFileText = text;
	struct stat st;
	if (!replaceFile(_path, text.data(), text.size(), &st)) {
		forget();
		return false;
	}
	_stamp = Stamp::of(st);
	_current = _stamp.settled();
	return true;
}

KeyStore *KeptStore::load(const std::string &path, const std::string &headerComment, bool journaled, bool watched)
{
	if (!_store || _store->path() != path)
		_store.reset(new KeyStore(path, headerComment, journaled, watched));
	return _store->load() ? _store.get() : nullptr;
}

KeyStore::Lookup KeyStore::lookup(const char *key, Value *out) const
{
	auto known = _answers.find(key);
	if (known != _answers.end()) {
		if (out && known->second.result == Lookup::Found)
			*out = known->second.value;
		return known->second.result;
	}
	const size_t kMaxAnswers = 256;
	if (_answers.size() >= kMaxAnswers)
		_answers.clear();
	Value found;
	Lookup result = readKey(key, &found);
	if (out && result == Lookup::Found)
		*out = found;
	_answers.emplace(key, Answer{result, std::move(found)});
	return result;
}

KeyStore::Lookup KeyStore::readKey(const char *key, Value *out) const
{
	std::string stored = encodeKey(key);
	for (const Group &g : kGroups) {
		if (!g_key_file_has_key(_file, g.name, stored.c_str(), nullptr))
			continue;
		GError *error = nullptr;
		Value v;
		v.type = g.type;
		switch (g.type) {
		case Type::Int:
			v.i = g_key_file_get_int64(_file, g.name, stored.c_str(), &error);
			if (!error && (v.i < INT_MIN || v.i > INT_MAX))
				return Lookup::Corrupt;
			break;
		case Type::Double:
			v.d = g_key_file_get_double(_file, g.name, stored.c_str(), &error);
			break;
		case Type::Bool:
			v.b = g_key_file_get_boolean(_file, g.name, stored.c_str(), &error);
			break;
		case Type::String: {
			gchar *raw = g_key_file_get_value(_file, g.name, stored.c_str(), &error);
			if (raw)
				v.s = unescapeString(raw);
			g_free(raw);
			break;
		}
		case Type::None:
			break;
		}
		if (error) {
			g_error_free(error);
			return Lookup::Corrupt;
		}
		if (out)
			*out = std::move(v);
		return Lookup::Found;
	}
	return Lookup::Absent;
}

void KeyStore::set(const char *key, const Value &value)
{
	_answers.clear();
	std::string stored = encodeKey(key);
	const char *group = groupOf(value.type);
	removeStored(stored);
	std::string text = storedText(value);
	if (group)
		g_key_file_set_value(_file, group, stored.c_str(), text.c_str());
	if (_journal)
		_journal->pending.push_back(group ? std::string("set ") + group + " " + stored + " " + text : "del " + stored);
}

bool KeyStore::remove(const char *key)
{
	std::string stored = encodeKey(key);
	if (lookup(key, nullptr) == Lookup::Absent)
		return false;
	removeStored(stored);
	if (_journal)
		_journal->pending.push_back("del " + stored);
	return true;
}

void KeyStore::removeStored(const std::string &stored)
{
	_answers.clear();
	for (const Group &g : kGroups) {
		if (!g_key_file_remove_key(_file, g.name, stored.c_str(), nullptr))
			continue;
		gsize count = 0;
		gchar **left = g_key_file_get_keys(_file, g.name, &count, nullptr);
		g_strfreev(left);
		if (count == 0)
			g_key_file_remove_group(_file, g.name, nullptr);
	}
}

std::vector<std::string> KeyStore::keys() const
{
	std::vector<std::string> result;
	for (const Group &g : kGroups) {
		gchar **stored = g_key_file_get_keys(_file, g.name, nullptr, nullptr);
		if (!stored)
			continue;
		for (gchar **k = stored; *k; ++k) {
			std::string key = decodeKey(*k);
			bool seen = false;
			for (const std::string &r : result)
				seen = seen || r == key;
			if (!seen)
				result.push_back(key);
		}
		g_strfreev(stored);
	}
	return result;
}

} // namespace zonhost

/*
 * keystore.cpp - the typed GLib key files behind preferences, vconf and system_info.
 */
#include "host_internal.h"

#include <climits>
#include <cmath>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
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

} // namespace

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

KeyStore::KeyStore(std::string path, std::string headerComment)
	: path_(std::move(path)), header_(std::move(headerComment)), file_(g_key_file_new())
{
}

KeyStore::~KeyStore()
{
	g_key_file_free(file_);
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
	g_key_file_free(file_);
	file_ = g_key_file_new();
	current_ = false;
}

bool KeyStore::load()
{
	struct stat st;
	if (current_) {
		bool absent = stat(path_.c_str(), &st) != 0;
		if (absent ? errno == ENOENT && !stamp_.exists : stamp_ == Stamp::of(st))
			return true;
	}
	int fd = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
	if (fd < 0 && errno == ENOENT) {
		if (current_ && !stamp_.exists)
			return true;
		forget();
		stamp_ = Stamp();
		current_ = true;
		return true;
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
		platformLog(DLOG_ERROR, "ZON_HOST", "cannot read %s: %s", path_.c_str(), problem);
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
	forget();
	GError *error = nullptr;
	if (readErrno)
		g_set_error_literal(&error, G_FILE_ERROR, g_file_error_from_errno(readErrno), g_strerror(readErrno));
	else
		g_key_file_load_from_data(file_, data.data(), data.size(), G_KEY_FILE_KEEP_COMMENTS, &error);
	if (error) {
		platformLog(DLOG_ERROR, "ZON_HOST", "cannot read %s: %s", path_.c_str(), error->message);
		g_error_free(error);
		forget();
		return false;
	}
	stamp_ = now;
	current_ = now.settled();
	return true;
}

bool KeyStore::save()
{
	if (!header_.empty()) {
		gchar *top = g_key_file_get_comment(file_, nullptr, nullptr, nullptr);
		if (!top || !*top)
			g_key_file_set_comment(file_, nullptr, nullptr, header_.c_str(), nullptr);
		g_free(top);
	}
	gchar *dir = g_path_get_dirname(path_.c_str());
	bool dirOk = ensureDir(dir);
	g_free(dir);
	if (!dirOk) {
		forget();
		return false;
	}

	gsize length = 0;
	gchar *data = g_key_file_to_data(file_, &length, nullptr);
	std::string text = tidy(data);
	g_free(data);
	struct stat st;
	if (!replaceFile(path_, text.data(), text.size(), &st)) {
		forget();
		return false;
	}
	stamp_ = Stamp::of(st);
	current_ = stamp_.settled();
	return true;
}

KeyStore *KeptStore::load(const std::string &path, const std::string &headerComment)
{
	if (!store_ || store_->path() != path)
		store_.reset(new KeyStore(path, headerComment));
	return store_->load() ? store_.get() : nullptr;
}

KeyStore::Lookup KeyStore::lookup(const char *key, Value *out) const
{
	std::string stored = encodeKey(key);
	for (const Group &g : kGroups) {
		if (!g_key_file_has_key(file_, g.name, stored.c_str(), nullptr))
			continue;
		GError *error = nullptr;
		Value v;
		v.type = g.type;
		switch (g.type) {
		case Type::Int:
			v.i = g_key_file_get_int64(file_, g.name, stored.c_str(), &error);
			if (!error && (v.i < INT_MIN || v.i > INT_MAX))
				return Lookup::Corrupt;
			break;
		case Type::Double:
			v.d = g_key_file_get_double(file_, g.name, stored.c_str(), &error);
			break;
		case Type::Bool:
			v.b = g_key_file_get_boolean(file_, g.name, stored.c_str(), &error);
			break;
		case Type::String: {
			gchar *raw = g_key_file_get_value(file_, g.name, stored.c_str(), &error);
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
	remove(key);
	std::string stored = encodeKey(key);
	const char *group = groupOf(value.type);
	switch (value.type) {
	case Type::Int: g_key_file_set_int64(file_, group, stored.c_str(), value.i); break;
	case Type::Double: g_key_file_set_value(file_, group, stored.c_str(), formatDouble(value.d).c_str()); break;
	case Type::Bool: g_key_file_set_boolean(file_, group, stored.c_str(), value.b); break;
	case Type::String: g_key_file_set_value(file_, group, stored.c_str(), escapeString(value.s).c_str()); break;
	case Type::None: break;
	}
}

bool KeyStore::remove(const char *key)
{
	std::string stored = encodeKey(key);
	bool removed = false;
	for (const Group &g : kGroups) {
		if (!g_key_file_remove_key(file_, g.name, stored.c_str(), nullptr))
			continue;
		removed = true;
		gsize count = 0;
		gchar **left = g_key_file_get_keys(file_, g.name, &count, nullptr);
		g_strfreev(left);
		if (count == 0)
			g_key_file_remove_group(file_, g.name, nullptr);
	}
	return removed;
}

std::vector<std::string> KeyStore::keys() const
{
	std::vector<std::string> result;
	for (const Group &g : kGroups) {
		gchar **stored = g_key_file_get_keys(file_, g.name, nullptr, nullptr);
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

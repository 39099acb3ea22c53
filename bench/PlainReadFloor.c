// The honest floor of a console run: every package of a repository opened and the tables that a
// run reads read in full, on as many threads, by nothing but libmsi and glib. It includes and
// links nothing of the program on purpose: a floor built on the program's own reading code
// would hide whatever that code costs above the library.
//
//   kw_plain_read_floor [--workers N] UNDER_TEST.msi REPOSITORY_FOLDER
//
// Every *.msi below REPOSITORY_FOLDER (any depth, ordinary files only) is read; the package
// under test first, on the main thread. The worker count is the program's: NUMBER_OF_PROCESSORS
// if set, else the processor count. Prints one line, the packages and rows read, so that the
// reading cannot be optimised away and its extent can be checked. Exits with 1 if a package
// could not be opened or a table could not be read, 2 on wrong usage.
#include <dirent.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <glib.h>
#include <libmsi.h>

// The tables whose rows a run reads.
static const char* const kTables[] = {"Component", "Directory", "File", "Registry", "Shortcut", "IniFile",
    "ODBCDataSource", "ODBCDriver", "ServiceInstall", "Extension", "Verb", "ModuleSignature", "ModuleComponents",
    "Property"};

typedef enum { FIELD_STRING, FIELD_INTEGER, FIELD_BINARY } FieldKind;

typedef struct {
    const GPtrArray* files;
    gint next;
    gint failures;
} Work;

typedef struct {
    Work* work;
    GThread* thread;
    gint64 rows;
    guint packages;
} Worker;

static gboolean EndsWithMsi(const char* name)
{
    const size_t length = strlen(name);
    return length >= 4 && g_ascii_strcasecmp(name + length - 4, ".msi") == 0;
}

// Symbolic links are not followed, so that a link back up the tree cannot make the list endless.
static void ListPackages(const char* folder, GPtrArray* found)
{
    DIR* directory = opendir(folder);
    if (directory == NULL)
        return;
    for (const struct dirent* entry = readdir(directory); entry != NULL; entry = readdir(directory)) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0)
            continue;
        char* path = g_build_filename(folder, entry->d_name, NULL);
        struct stat information;
        if (lstat(path, &information) != 0) {
            // Gone since the folder was listed: nothing to read.
        } else if (S_ISDIR(information.st_mode)) {
            ListPackages(path, found);
        } else if (S_ISREG(information.st_mode) && EndsWithMsi(entry->d_name)) {
            g_ptr_array_add(found, path);
            path = NULL;
        }
        g_free(path);
    }
    closedir(directory);
}

static gint ComparePaths(gconstpointer left, gconstpointer right)
{
    return strcmp(*(const char* const*)left, *(const char* const*)right);
}

// libmsi answers nothing useful when a field is read as another kind than its column's, so each
// column is read as its type says: 'i' or 'j' an integer, 'v' a stream, anything else a string.
static FieldKind* ColumnKinds(LibmsiQuery* query, guint* count, GError** error)
{
    LibmsiRecord* types = libmsi_query_get_column_info(query, LIBMSI_COL_INFO_TYPES, error);
    if (types == NULL)
        return NULL;
    *count = libmsi_record_get_field_count(types);
    FieldKind* kinds = g_new(FieldKind, *count + 1);
    for (guint column = 1; column <= *count; ++column) {
        gchar* type = libmsi_record_get_string(types, column);
        const int letter = type != NULL ? g_ascii_tolower(type[0]) : 's';
        kinds[column] = letter == 'i' || letter == 'j' ? FIELD_INTEGER : letter == 'v' ? FIELD_BINARY : FIELD_STRING;
        g_free(type);
    }
    g_object_unref(types);
    return kinds;
}

static void ReadRecord(const LibmsiRecord* record, const FieldKind* kinds, guint columns)
{
    const guint count = libmsi_record_get_field_count(record);
    for (guint column = 1; column <= count; ++column) {
        const FieldKind kind = column <= columns ? kinds[column] : FIELD_STRING;
        if (kind == FIELD_BINARY || libmsi_record_is_null(record, column))
            continue;
        if (kind == FIELD_INTEGER)
            (void)libmsi_record_get_int(record, column);
        else
            g_free(libmsi_record_get_string(record, column));
    }
}

// Every row of one table, or 0 rows when the package has no such table: a query on a fixed
// table name fails to open only when the table is missing, and a package need not have it.
static gint64 ReadTable(LibmsiDatabase* database, const char* table, const char* path, gboolean* failed)
{
    char* text = g_strdup_printf("SELECT * FROM `%s`", table);
    LibmsiQuery* query = libmsi_query_new(database, text, NULL);
    g_free(text);
    if (query == NULL)
        return 0;
    gint64 rows = 0;
    GError* error = NULL;
    guint columns = 0;
    FieldKind* kinds = NULL;
    if (libmsi_query_execute(query, NULL, &error))
        kinds = ColumnKinds(query, &columns, &error);
    if (kinds != NULL) {
        for (LibmsiRecord* record = libmsi_query_fetch(query, &error); record != NULL;
             record = libmsi_query_fetch(query, &error)) {
            ReadRecord(record, kinds, columns);
            g_object_unref(record);
            ++rows;
        }
    }
    if (error == NULL)
        libmsi_query_close(query, &error);
    if (error != NULL) {
        fprintf(stderr, "kw_plain_read_floor: %s: table %s: %s\n", path, table, error->message);
        *failed = TRUE;
        g_error_free(error);
    }
    g_free(kinds);
    g_object_unref(query);
    return rows;
}

static gint64 ReadPackage(const char* path, gboolean* failed)
{
    GError* error = NULL;
    LibmsiDatabase* database = libmsi_database_new(path, LIBMSI_DB_FLAGS_READONLY, NULL, &error);
    if (database == NULL) {
        fprintf(stderr, "kw_plain_read_floor: %s: %s\n", path, error != NULL ? error->message : "cannot be opened");
        g_clear_error(&error);
        *failed = TRUE;
        return 0;
    }
    LibmsiSummaryInfo* summary = libmsi_summary_info_new(database, 0, &error);
    if (summary != NULL) {
        // The package code; owned by the summary information.
        (void)libmsi_summary_info_get_string(summary, LIBMSI_PROPERTY_UUID, NULL);
        g_object_unref(summary);
    } else {
        fprintf(stderr, "kw_plain_read_floor: %s: summary information: %s\n", path,
            error != NULL ? error->message : "cannot be read");
        g_clear_error(&error);
        *failed = TRUE;
    }
    gint64 rows = 0;
    for (size_t table = 0; table < G_N_ELEMENTS(kTables); ++table)
        rows += ReadTable(database, kTables[table], path, failed);
    g_object_unref(database);
    return rows;
}

static gpointer RunWorker(gpointer data)
{
    Worker* worker = data;
    Work* work = worker->work;
    for (guint i = (guint)g_atomic_int_add(&work->next, 1); i < work->files->len;
         i = (guint)g_atomic_int_add(&work->next, 1)) {
        gboolean failed = FALSE;
        worker->rows += ReadPackage(g_ptr_array_index(work->files, i), &failed);
        ++worker->packages;
        if (failed)
            g_atomic_int_inc(&work->failures);
    }
    return NULL;
}

// As the program reads NUMBER_OF_PROCESSORS: leading digits, else 0; only the low 16 bits count.
static int DefaultWorkers(void)
{
    const char* value = getenv("NUMBER_OF_PROCESSORS");
    const long count = value != NULL ? strtol(value, NULL, 10) : sysconf(_SC_NPROCESSORS_ONLN);
    return (int16_t)(count & 0xFFFF);
}

static void DropMessage(const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer data)
{
    (void)domain;
    (void)level;
    (void)message;
    (void)data;
}

static int Usage(void)
{
    fprintf(stderr, "usage: kw_plain_read_floor [--workers N] UNDER_TEST.msi REPOSITORY_FOLDER\n");
    return 2;
}

int main(int argc, char** argv)
{
    int workers = DefaultWorkers();
    int first = 1;
    if (argc > 2 && strcmp(argv[1], "--workers") == 0) {
        workers = atoi(argv[2]);
        first = 3;
    }
    if (argc - first != 2)
        return Usage();
    // The floor has no pairs to skip: with fewer than one worker it still reads on one.
    if (workers < 1)
        workers = 1;

    // libmsi warns on glib's default domain of every missing table; the program drops those
    // messages too, and writing them would be work that a run does not do.
    g_log_set_handler(
        NULL, G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE | G_LOG_LEVEL_INFO | G_LOG_LEVEL_DEBUG, DropMessage, NULL);

    // Read before any worker starts: libgsf and glib register their types on first use, and
    // that is not safe on two threads at once.
    gboolean failed = FALSE;
    gint64 rows = ReadPackage(argv[first], &failed);
    guint packages = 1;

    GPtrArray* files = g_ptr_array_new_with_free_func(g_free);
    ListPackages(argv[first + 1], files);
    g_ptr_array_sort(files, ComparePaths);
    Work work = {.files = files, .next = 0, .failures = failed ? 1 : 0};
    Worker* pool = g_new0(Worker, workers);
    for (int k = 0; k < workers; ++k) {
        pool[k].work = &work;
        pool[k].thread = g_thread_new("reader", RunWorker, &pool[k]);
    }
    for (int k = 0; k < workers; ++k) {
        g_thread_join(pool[k].thread);
        rows += pool[k].rows;
        packages += pool[k].packages;
    }
    g_free(pool);
    g_ptr_array_unref(files);

    printf("%u packages read, %" G_GINT64_FORMAT " rows\n", packages, rows);
    if (work.failures > 0) {
        fprintf(stderr, "kw_plain_read_floor: %d packages could not be read in full\n", work.failures);
        return 1;
    }
    return 0;
}

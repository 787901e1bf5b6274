// mmutil: free routines shared by the store and the driver: text cleaning and cutting,
// 3x3 matrix arithmetic, the clock that stamps written files, and directory creation.
#ifndef MMUTIL_H
#define MMUTIL_H

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

namespace mmutil {

// ----- Trimming (in place; each returns its argument) -----
// Plain blanks on the left: space, tab. Line blanks on the right: space, tab, LF, CR.
// The sg_ variants also strip quotes, for quoted CIF values; sg_trim then deletes every
// space left inside.
std::string& triml(std::string& s);
std::string& trimr(std::string& s);
std::string& trim(std::string& s);
std::string& sg_triml(std::string& s);
std::string& sg_trimr(std::string& s);
std::string& sg_trim(std::string& s);
// C-string trimmers never remove the first character (a text of blanks keeps one blank).
char* c_triml(char* s);
char* c_trimr(char* s);
char* c_trim(char* s);
// Cuts the first word off *s: returns it and leaves the trimmed rest in *s.
char* strhed(char** s);

// ----- Comparison -----
struct ci_char_traits : public std::char_traits<char> {
    static bool eq(char a, char b);
    static bool ne(char a, char b);
    static bool lt(char a, char b);
    static int compare(const char* s1, const char* s2, std::size_t n);
    static const char* find(const char* s, int n, char c);
};
bool iequals(const std::string& a, const std::string& b);
// Compares the first n characters case-insensitively; 1 when they match.
int my_strcasestr(const char* a, const char* b, int n);
int isalpha(int c);
bool isAlphabetical(const std::string& s);

// ----- Splitting (tokens in order; no empty tokens; no quote handling) -----
bool tokenize(std::vector<std::string>& out, const char* line, const char* delims);
bool tokenize(std::vector<std::string>& out, std::string& line, const char* delims);
void split_to_words(std::string text, std::string delims, std::vector<std::string>* out);
std::vector<std::string> split_string(std::string text);
std::vector<std::string> split_string_dl(std::string text, char delim);

// ----- File names and labels -----
std::string RemoveWhiteSpaceUnderscore(const std::string& s);
char* ReplaceSlashWithUnderscore(char* s);
char* ReplaceBackSlashWithSlash(char* s);
std::string remove_filename_extension(const std::string& name);
std::string base_filename(const std::string& path);
char* morphNumericString(char* s, int ndigits);

// ----- 3x3 matrices (row-major) and small vectors -----
double det(double a[3][3]);
void transpose_matrix(double a[3][3]);
void transpose_matrix(double** a, int n);
double get_magnitude(double* v);
double get_dot(double* a, double* b);
void mat_vec_mul(double a[3][3], double* x, double* y);
void mat_vec_mul_n(double a[3][3], double x[][3], double y[][3], int n);
void mat_mat_mul(double a[3][3], double b[3][3], double c[3][3]);
void mat_mat_mul_nxn(double** a, double** b, double** c, int n);
void mat_scale(double a[3][3], double s, double b[3][3]);
void mat_mat_add(double a[3][3], double b[3][3], double c[3][3]);
double anint(double x);
void invert(double a[3][3], double b[3][3]);
void rot_matrix_from_dir_vector_and_angle(double r[3][3], double* u, double angle);
void jacobi_nr(double a[3][3], int n, double* d, double v[3][3], int& nrot);
void eigsrt_nr(double* d, double v[3][3], int n);

// ----- Clock for file stamps: tests pin it to make whole files comparable -----
void pin_clock(std::time_t t);
void unpin_clock();
std::tm local_now();
std::string get_now_date_time();  // "YYYY-MM-DD HH:MM:SS"

// ----- Files -----
// Creates one directory (mode 0750) when nothing exists at path; parents are not made.
int create_directory(const char* path);

}  // namespace mmutil

#endif  // MMUTIL_H

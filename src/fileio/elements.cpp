// The element table (rows 0..103), the bonding-radius table and their lookups.
#include <cctype>
#include <cmath>
#include <cstring>

#include "element_rows.h"
#include "teska/fileio.h"

// clang-format off
const ElementRecord Elements_m[kElementRows] = {
    {"  ", 0, 180, 360, 12, ""},  // 0
    {"H ", 1.00794, 80, 275, 4, "HYDROGEN"},  // 1
    {"He", 4.0026, 400, 550, 5, "HELIUM"},  // 2
    {"Li", 6.941, 170, 305, 14, "LITHIUM"},  // 3
    {"Be", 9.01218, 88, 157, 12, "BERYLLIUM"},  // 4
    {"B ", 10.811, 208, 387, 13, "BORON"},  // 5
    {"C ", 12.011, 180, 387, 0, "CARBON"},  // 6
    {"N ", 14.0067, 170, 350, 1, "NITROGEN"},  // 7
    {"O ", 15.9994, 170, 337, 2, "OXYGEN"},  // 8
    {"F ", 18.9984, 160, 325, 6, "FLUORINE"},  // 9
    {"Ne", 20.1797, 280, 505, 12, "NEON"},  // 10
    {"Na", 22.98977, 243, 550, 7, "SODIUM"},  // 11
    {"Mg", 24.305, 275, 375, 15, "MAGNESIUM"},  // 12
    {"Al", 26.98154, 338, 375, 9, "ALUMINIUM"},  // 13
    {"Si", 28.0855, 300, 550, 6, "SILICON"},  // 14
    {"P ", 30.97376, 259, 470, 8, "PHOSPHORUS"},  // 15
    {"S ", 32.066, 255, 452, 3, "SULPHUR"},  // 16
    {"Cl", 35.4527, 250, 437, 13, "CHLORINE"},  // 17
    {"Ar", 39.948, 392, 692, 12, "ARGON"},  // 18
    {"K ", 39.0983, 332, 597, 12, "POTASSIUM"},  // 19
    {"Ca", 40.078, 248, 487, 9, "CALCIUM"},  // 20
    {"Sc", 44.9559, 360, 330, 12, "SCANDIUM"},  // 21
    {"Ti", 47.88, 368, 487, 9, "TITANIUM"},  // 22
    {"V ", 50.9415, 332, 265, 12, "VANADIUM"},  // 23
    {"Cr", 51.996, 338, 282, 9, "CHROMIUM"},  // 24
    {"Mn", 54.938, 338, 297, 9, "MANGANESE"},  // 25
    {"Fe", 55.847, 335, 487, 8, "IRON"},  // 26
    {"Co", 58.9332, 332, 282, 12, "COBALT"},  // 27
    {"Ni", 58.6934, 405, 310, 10, "NICKEL"},  // 28
    {"Cu", 63.546, 380, 287, 10, "COPPER"},  // 29
    {"Zn", 65.39, 362, 287, 10, "ZINC"},  // 30
    {"Ga", 69.723, 305, 387, 12, "GALLIUM"},  // 31
    {"Ge", 72.61, 292, 999, 12, "GERMANIUM"},  // 32
    {"As", 74.9216, 302, 207, 12, "ARSENIC"},  // 33
    {"Se", 78.96, 305, 225, 12, "SELENIUM"},  // 34
    {"Br", 79.904, 302, 437, 10, "BROMINE"},  // 35
    {"Kr", 83.8, 400, 475, 12, "KRYPTON"},  // 36
    {"Rb", 85.4678, 368, 662, 12, "RUBIDIUM"},  // 37
    {"Sr", 87.62, 280, 505, 12, "STRONTIUM"},  // 38
    {"Y ", 88.9059, 445, 402, 12, "YTTRIUM"},  // 39
    {"Zr", 91.224, 390, 355, 12, "ZIRCONIUM"},  // 40
    {"Nb", 92.9064, 370, 332, 12, "NIOBIUM"},  // 41
    {"Mo", 95.94, 368, 437, 12, "MOLYBDENUM"},  // 42
    {"Tc", 98, 338, 450, 12, "TECHNETIUM"},  // 43
    {"Ru", 101.07, 350, 300, 12, "RUTHENIUM"},  // 44
    {"Rh", 102.9055, 362, 305, 12, "RHODIUM"},  // 45
    {"Pd", 106.42, 375, 360, 12, "PALLADIUM"},  // 46
    {"Ag", 107.868, 398, 387, 9, "SILVER"},  // 47
    {"Cd", 112.41, 422, 437, 12, "CADMIUM"},  // 48
    {"In", 114.82, 408, 362, 12, "INDIUM"},  // 49
    {"Sn", 118.71, 365, 417, 12, "TIN"},  // 50
    {"Sb", 121.757, 365, 280, 12, "ANTIMONY"},  // 51
    {"Te", 127.6, 368, 315, 12, "TELLURIUM"},  // 52
    {"I ", 126.9045, 350, 437, 11, "IODINE"},  // 53
    {"Xe", 131.29, 425, 525, 12, "XENON"},  // 54
    {"Cs", 132.9054, 418, 752, 12, "CAESIUM"},  // 55
    {"Ba", 137.33, 335, 602, 8, "BARIUM"},  // 56
    {"La", 138.9055, 468, 457, 12, "LANTHANUM"},  // 57
    {"Ce", 140.12, 458, 465, 12, "CERIUM"},  // 58
    {"Pr", 140.9077, 455, 405, 12, "PRASEODYMIUM"},  // 59
    {"Nd", 144.24, 452, 447, 12, "NEODYMIUM"},  // 60
    {"Pm", 145, 450, 440, 12, "PROMETHIUM"},  // 61
    {"Sm", 150.36, 450, 435, 12, "SAMARIUM"},  // 62
    {"Eu", 151.965, 498, 490, 12, "EUROPIUM"},  // 63
    {"Gd", 157.25, 448, 422, 12, "GADOLINIUM"},  // 64
    {"Tb", 158.9253, 440, 415, 12, "TERBIUM"},  // 65
    {"Dy", 162.5, 438, 407, 12, "DYSPROSIUM"},  // 66
    {"Ho", 164.9303, 435, 402, 12, "HOLMIUM"},  // 67
    {"Er", 167.26, 432, 397, 12, "ERBIUM"},  // 68
    {"Tm", 168.9342, 430, 392, 12, "THULIUM"},  // 69
    {"Yb", 173.04, 485, 385, 12, "YTTERBIUM"},  // 70
    {"Lu", 174.967, 430, 382, 12, "LUTETIUM"},  // 71
    {"Hf", 178.49, 392, 350, 12, "HAFNIUM"},  // 72
    {"Ta", 180.9479, 358, 305, 12, "TANTALUM"},  // 73
    {"W ", 183.85, 342, 315, 12, "TUNGSTEN"},  // 74
    {"Re", 186.207, 338, 325, 12, "RHENIUM"},  // 75
    {"Os", 190.2, 342, 395, 12, "OSMIUM"},  // 76
    {"Ir", 192.22, 330, 305, 12, "IRIDIUM"},  // 77
    {"Pt", 195.08, 375, 387, 12, "PLATINUM"},  // 78
    {"Au", 196.9665, 375, 362, 6, "GOLD"},  // 79
    {"Hg", 200.59, 425, 495, 12, "MERCURY"},  // 80
    {"Tl", 204.282, 388, 427, 12, "THALLIUM"},  // 81
    {"Pb", 207.2, 385, 540, 12, "LEAD"},  // 82
    {"Bi", 208.9804, 385, 432, 12, "BISMUTH"},  // 83
    {"Po", 209, 420, 302, 12, "POLONIUM"},  // 84
    {"At", 210, 302, 280, 12, "ASTATINE"},  // 85
    {"Rn", 222, 475, 575, 12, "RADON"},  // 86
    {"Fr", 223, 450, 810, 12, "FRANCIUM"},  // 87
    {"Ra", 226.0254, 358, 642, 12, "RADIUM"},  // 88
    {"Ac", 227, 295, 530, 12, "ACTINIUM"},  // 89
    {"Th", 232.0381, 255, 460, 12, "THORIUM"},  // 90
    {"Pa", 231.0359, 222, 400, 12, "PROTACTINIUM"},  // 91
    {"U ", 238.029, 242, 437, 12, "URANIUM"},  // 92
    {"Np", 237.0482, 238, 427, 12, "NEPTUNIUM"},  // 93
    {"Pu", 244, 232, 417, 12, "PLUTONIUM"},  // 94
    {"Am", 243, 230, 415, 12, "AMERICIUM"},  // 95
    {"Cm", 247, 228, 412, 12, "CURIUM"},  // 96
    {"Bk", 247, 225, 410, 12, "BERKELIUM"},  // 97
    {"Cf", 251, 222, 407, 12, "CALIFORNIUM"},  // 98
    {"Es", 252, 220, 405, 12, "EINSTEINIUM"},  // 99
    {"Fm", 257, 218, 402, 12, "FERMIUM"},  // 100
    {"Md", 258, 215, 400, 12, "MENDELEVIUM"},  // 101
    {"No", 259, 212, 397, 12, "NOBELIUM"},  // 102
    {"Lr", 260, 210, 395, 12, "LAWRENCIUM"},  // 103
};

// Entries 104 and 105 lie past the last element; only the by-index lookup reaches them.
const double nw_elem_radius_m[kBondingRadiusEntries] = {
    99999.99, 0.35, 1.22, 1.23, 0.89, 0.88, 0.77, 0.72,
    0.66, 0.58, 1.6, 1.4, 1.36, 1.25, 1.17, 1.1,
    1.04, 0.99, 1.91, 2.03, 1.74, 1.44, 1.32, 1.22,
    1.19, 1.17, 1.165, 1.16, 1.15, 1.17, 1.25, 1.25,
    1.22, 1.21, 1.17, 1.14, 1.98, 2.22, 1.92, 1.62,
    1.45, 1.34, 1.29, 1.27, 1.24, 1.25, 1.28, 1.34,
    1.41, 1.5, 1.4, 1.41, 1.37, 1.33, 2.09, 2.35,
    1.98, 1.69, 1.65, 1.65, 1.64, 1.65, 1.66, 1.65,
    1.61, 1.59, 1.59, 1.58, 1.57, 1.56, 1.56, 1.56,
    1.44, 1.34, 1.3, 1.28, 1.26, 1.26, 1.29, 1.34,
    1.44, 1.55, 1.54, 1.52, 1.53, 1.5, 2.2, 3.24,
    2.68, 2.25, 2.16, 1.93, 1.66, 1.57, 1.81, 2.21,
    1.43, 1.42, 1.4, 1.39, 1.38, 1.37, 1.36, 1.34,
    1.3, 1.3,
};
// clang-format on

namespace fileio_detail {

int element_row_from_symbol(const std::string& text) {
    if (text.empty()) return -1;
    const char first = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    const char second = text.size() == 1
                            ? ' '
                            : static_cast<char>(std::tolower(static_cast<unsigned char>(text[1])));
    for (int row = 0; row < kElementRows; ++row) {
        if (Elements_m[row].symbol[0] == first && Elements_m[row].symbol[1] == second) return row;
    }
    return -1;
}

const ElementRecord& element_record_or_dummy(int row) {
    return (row >= 0 && row < kElementRows) ? Elements_m[row] : Elements_m[0];
}

std::string element_symbol(int row) {
    if (row < 0 || row >= kElementRows) return "X";
    const char* symbol = Elements_m[row].symbol;
    return symbol[1] == ' ' ? std::string(1, symbol[0]) : std::string(symbol, 2);
}

}  // namespace fileio_detail

// Names longer than the 30-character buffer of the lookup are cut there.
static std::string lookup_text(const char* name) {
    constexpr std::size_t kNameBuffer = 30;
    return std::string(name, strnlen(name, kNameBuffer - 1));
}

void FileIO::find_element_name_from_mass(double mass, char* symbol) {
    for (int row = 0; row < kElementRows; ++row) {
        if (std::fabs(Elements_m[row].mass - mass) < 0.1) {
            if (row == 0) break;
            symbol[0] = Elements_m[row].symbol[0];
            symbol[1] = Elements_m[row].symbol[1];
            symbol[2] = '\0';
            return;
        }
    }
    std::strcpy(symbol, "A ");
}

int FileIO::find_element_index_from_name(const char* name) {
    return fileio_detail::element_row_from_symbol(lookup_text(name));
}

double FileIO::find_element_radius_from_name(const char* name) {
    const int row = find_element_index_from_name(name);
    return row < 0 ? 9999.99 : nw_elem_radius_m[row];
}

void FileIO::find_element_name_from_index(int row, char* symbol) {
    symbol[0] = Elements_m[row].symbol[0];
    symbol[1] = Elements_m[row].symbol[1];
    symbol[Elements_m[row].symbol[1] == ' ' ? 1 : 2] = '\0';
}

double FileIO::find_element_mass_from_index(int row) { return Elements_m[row].mass; }

double FileIO::find_element_radius_from_index_nw(int row) { return nw_elem_radius_m[row]; }

double FileIO::find_element_radius_from_index(int row) {
    return Elements_m[row].covalent_radius / 250.0;
}

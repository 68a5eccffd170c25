/* Numbers of the page's parts among the program's resources; read by the resource compiler too. */
#define PAGE_FRAME 101
#define PAGE_STYLE 102
#define PAGE_PROGRAM 103
#define PAGE_LIBRARY 104
#define PAGE_LIBRARY_LICENCE 105

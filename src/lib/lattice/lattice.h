// lattice.h: Lattice<R1, R2>, the solver state of one program: the prepared program (the Vorm
// base), its unprepared twin, the basis B of the lattice that embeds it, everything derived from
// B, the search's results and the parameters. Stage<R1, R2> is the enumeration state of one row.
// R1 is the number type of the lattice data and of the program, R2 that of the Gram-Schmidt data.
// Built for the four pairs of long double and QQ; other types do not link. Rows count from 1.
// A lattice is created empty (0 rows), filled by setFileNames and the .opt reader, and given a
// basis by the embedding. Copies between instantiations go through _assign, value by value
// through Precision::conv: from QQ down to long double every member marked throwOnLoss by
// resetLattice (B_save, solutions, TT, c, l, lTrimmed, r, rTrimmed, rowValues, stages, and rowNorm
// with allowPostCommaLoss) and the scalars of the lattice data must arrive faithfully, else
// PrecisionException, and the target is then half written (YLattice restores its backup).
// Trimming (trimming.cpp): B is held in trimmed coordinates, each column scaled by trimming and,
// in proportion to the inhomogenous component, translated; B_save and l, r are untrimmed. The
// parameters scale and translate say which of the two act, and are read at every application and
// removal: they change only through setTrimming, which takes the trimming off and puts it back.
// Files: the .sol file of the program (sol_file.cpp) is read record by record; it and the .lat
// snapshot (lat_file.cpp) are written whole through a temporary file that replaces the old one,
// with SIGINT and SIGTERM held back meanwhile (protected_file.h).
//
// The candidate gate (candidate_check.cpp) judges every vector the reduction or a search offers:
// it proves the vector a member of the lattice (containment.h), measures it against the bounds,
// maps it to the program, judges its targets, keeps the best vectors (heuristic.h, deviation.cpp)
// and writes accepted solutions to the .sol file, each write followed by a checkpoint of the
// transformation stack (transformation.cpp). Found vectors are carried across changes of the
// lattice by backups (backup.cpp); restart.cpp regenerates the lattice or ends the run.
#pragma once

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/array.h"
#include "base/serializable.h"
#include "base/serializable_array.h"
#include "base/set.h"
#include "lattice/containment.h"
#include "lattice/coords.h"
#include "lattice/heuristic.h"
#include "lattice/trimming.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"
#include "os/mutex.h"
#include "os/statistics.h"
#include "params/params.h"
#include "program/star.h"
#include "program/vorm.h"

#include <array>
#include <istream>
#include <string>
#include <vector>

namespace latopt {

// The element reader of the transformation stack's text form (SerializableArray<Matrix<T>>).
template <class T>
std::istream& operator>>(std::istream& stream, Matrix<T>& matrix)
{
    matrix.unserialize(stream);
    return stream;
}

// The state of one row of an enumeration: the vector part (R1) and six values of R2, which the
// search drivers fill; within the engine they are only kept in step with the rows of B.
template <class R1, class R2>
class Stage : public Vector<R1> {
public:
    R2 center;      // 0 by default
    R2 partialNorm; // 0 by default
    R2 offset;      // 0 by default
    R2 step;        // 0 by default
    R2 bound;       // 0 by default
    R2 direction;   // 1 by default

    Stage();
    Stage(const Stage&) = default;
    Stage(Stage&&) noexcept = default;
    Stage& operator=(const Stage&) = default;
    Stage& operator=(Stage&&) noexcept = default;
    ~Stage() override = default;

    // The vector part through Precision::conv with this stage's flags, then the six values, each
    // with this stage's throwOnLoss and allowPostCommaLoss. Self-assignment does nothing.
    template <class S1, class S2>
    Stage& _assign(const Stage<S1, S2>& other);
};

template <class R1, class R2>
class Lattice : public Vorm<R1> {
public:
    R1 inhomogenousConstant;                     // last component of untrimmed inhomogenous vectors; 1
    R1 scaledInhomogenousConstant;               // the same under the scale of the last column; 1
    long iterationCount = 0;                     // cleared by every reset
    long dimB = 0;                               // row count of B
    long dimN = 0;                               // column count of B
    std::string latFile;                         // the .lat file of the program; empty: not written
    ExtendedParams<R2> params;                   // all settings
    HeuristicVector<R1, R2> bestVector;          // the best vector that failed the bounds; empty
    TargetVector<R1> bestTarget;                 // the best target reached so far
    ConversionArray<TargetVector<R1>> solutions; // the found solutions, from index 1
    SerializableArray<Matrix<R1>> TT;            // the transformation stack; one identity
    Matrix<R1> B_save;                           // the untrimmed basis at the last checkpoint
    bool rollbackEnabled = false;                // a rollback switched consistency on
    Matrix<R1> B;                                // the basis, one lattice vector per row, trimmed
    Matrix<R2> gsVectors;                        // dimB by dimN
    Matrix<R2> mu;                               // dimB by dimB
    Vector<R1> rowNorm;                          // one value per row
    Vector<R2> gsNorm;                           // one value per row
    MainMutexVars vars;                          // variables 5, 6, 7 are "0" after a reset
    Vorm<R1> unprepared;                         // the program as the file states it
    R1 R;                                        // common bound of the scaled components; 0
    Vector<R1> c;                                // column scale factors, dimN long
    Vector<R1> l;                                // lower bounds of the lattice coordinates, dimN long
    Vector<R1> lTrimmed;                         // the same after scaling and translation
    Vector<R1> r;                                // upper bounds of the lattice coordinates
    Vector<R1> rTrimmed;                         // the same after scaling and translation
    R1 maxUnscaledLatVecSquaredEuclideanNorm;    // bound on the squared length of lattice vectors; 0
    bool boundsSymmetric = false;                // l = -r
    long lllStepBudget = 100;                    // steps of the reduction between checks
    short checkVectorsState = 0;                 // state of the candidate check
    // Whether column 1 is the target sum's: fixed when the lattice is built (the target bounds of
    // unprepared, which a new best target sets, change the layout only with the next lattice).
    bool targetColumn = false;
    // Whether the reduction offers the rows it touches to the candidate gate; a bare basis (a
    // reduction for its own sake) has no program to judge them against and clears it.
    bool offerCandidates = true;
    // Set when restartOrTerminate ends the run (never cleared but by resetLattice): the reduction
    // stops at its next row and offers nothing more, so that a driver ends between steps, with
    // its files complete, instead of in the middle of one.
    bool runEnded = false;
    // Exchange tests made by lll since the lattice was built; only counted, never copied.
    long exchangeTestCount = 0;
    // Counts of the candidate gate since the lattice was built; only counted, never copied: rows
    // the reduction offered, vectors the gate stored in a collection set, solutions it accepted.
    long offeredCount = 0;
    long collectedCount = 0;
    long acceptedCount = 0;
    ContainmentVerification<R1, R2> containment; // frozen data of B_save for membership proofs
    CoordsComputation<R1, R2> coords;         // the coordinates of a vector in B, with the two solve caches
    Array<short> rowState;                    // one state word per row
    ConversionArray<Matrix<R2>> gsStages;     // work array P of the reduced LQ factorisation
    Vector<R2> gsDiag;                        // diagonal of the reduced factorisation
    Matrix<R2> gsLower;                       // its lower triangle
    ConversionArray<Matrix<R2>> gsFullStages; // work array P of the full LQ factorisation
    Matrix<R2> gsLowerFull;                   // the lower triangle of the full factorisation
    Vector<R1> rowValues;                     // one value per row, for the search drivers
    R2 stageValue;                            // a value of the search drivers; kept and copied
    ConversionArray<Stage<R1, R2>> stages;    // dimB + 1 entries: enumeration state of each row
    SortedSet<HeuristicVector<R1, R2>> goodVectors; // homogenous vectors, worst first; collectLimit
    SortedSet<HeuristicVector<R1, R2>> bestVectors; // inhomogenous vectors, worst first; collectLimit
    Trimming<R1> trimming;                          // scale factors and translation of the columns of B

    static Statistics statistics; // the counters of the run, one object per instantiation

    // The forms in which found vectors survive a change of the lattice (backup.cpp): the vector
    // cut or padded to dimN; without its first shift entries; its coordinates in B; the program's
    // x (lat2opt).
    enum BackupType : short {
        BACKUP_PADDED = 0,
        BACKUP_LSHIFT = 1,
        BACKUP_COORDINATES = 2,
        BACKUP_PROGRAM = 3
    };
    using CollectionSet = SortedSet<HeuristicVector<R1, R2>>;

    // All members, an empty lattice for a null basis, then resetLattice(basis, true).
    explicit Lattice(const Matrix<R1>* basis = nullptr);
    // A lattice is copied through _assign only; its parts refer to it.
    Lattice(const Lattice&) = delete;
    Lattice& operator=(const Lattice&) = delete;
    ~Lattice() override = default;

    // B_save becomes a copy of basis (null: 0 by 0), dims follow it, TT one identity, every derived
    // member zero, results and counters cleared, latFile emptied if clearFileName, and the
    // conversion flags of the faithful members set.
    void resetLattice(const Matrix<R1>* basis, bool clearFileName);
    // Resizes everything that follows the rows (rows) and the columns (cols, 0: dimN). A negative
    // size does nothing.
    void setDims(long rows, long cols, bool keepBest);
    // Copies other into this lattice: the program and unprepared, dims and latFile, params unless
    // keepParams, then the results and the basis, then the rest in the order of the members. May
    // throw PrecisionException from QQ to long double and leave this lattice half written.
    template <class S1, class S2>
    Lattice& _assign(const Lattice<S1, S2>& other, bool keepParams);

    // The names of the program's files from one of them: the stem is name without its last
    // extension ("\\.[^./]*$"), or the whole name if that leaves nothing; optFile and solFile go
    // to the program and to unprepared, latFile to the lattice.
    void setFileNames(const std::string& name);

    // Trimming (trimming.cpp). With s the parameter scale and t the parameter translate, both read
    // at each call. The last column, which carries the inhomogenous component, is never
    // translated, whatever trimming.translation holds there: removal reads the fraction of the
    // constant back from that component, so it must come through the trimming unshifted.
    // v with the trimming applied (apply: scale if s, then translate if t) or removed (translate
    // back if t, then unscale if s). The translation is v[dimN] / K times trimming.translation,
    // K the constant in the form of v: inhomogenousConstant for a plain v (apply, or s unset),
    // scaledInhomogenousConstant for a scaled one; v[dimN] zero (within 10^-9) is not translated.
    Vector<R1> handleScalingAndTranslation(const Vector<R1>& v, bool apply) const;
    // New matrices whose rows went through handleScalingAndTranslation; the lattice stays.
    Matrix<R1> applyScalingAndTranslation(const Matrix<R1>& M) const;
    Matrix<R1> removeTranslationAndScaling(const Matrix<R1>& M) const;
    // B replaced by the trimmed or the untrimmed form of B; every row state word goes to 0.
    void applyScalingAndTranslationAndInvalidate();
    void removeTranslationAndScalingAndInvalidate();
    // lTrimmed[i], rTrimmed[i] from l[i], r[i]: times scale[i] plus translation[i] (none in the
    // last column), whatever s and t say; exchanged when scale[i] < 0.
    void applyScalingAndTranslationToBnd(long i);
    // Takes the trimming off B, resets the scale factors (and scaledInhomogenousConstant,
    // scaleLimit) if resetScale and the translation if resetTranslation, recomputes every bound
    // pair and puts the trimming back on B.
    void resetTrimming(bool resetScale, bool resetTranslation);
    // Sets the parameters scale and translate in a bracket: the trimming comes off B under the old
    // settings and goes back on under the new ones, with every bound pair recomputed in between.
    // The parameters must change only so (or through their change callbacks): a change while B
    // is trimmed would make the removal undo what was never applied.
    void setTrimming(bool scale, bool translate);

    // Gram-Schmidt data of the rows of B (gram_schmidt.cpp), computed lazily by the row state
    // words: a row is recomputed only when its word lacks the bits of the routine's mask.
    // rowState bits: the whole word 1 = dependent on the rows before it; 2 = mu row, rowNorm and
    // gsNorm current; 4 = factorised; 8 = gsVectors row current; 16 = gsLower and gsDiag current;
    // 32 = size-reduced; 64 = passed the exchange test. k2 = 0 means dimB.
    static constexpr short ROW_DEPENDENT = 1;
    static constexpr short GS_CURRENT = 2;
    static constexpr short GS_FACTORISED = 4;
    static constexpr short GS_VECTORS_CURRENT = 8;
    static constexpr short GS_LOWER_CURRENT = 16;
    static constexpr short SIZE_REDUCED = 32;
    static constexpr short EXCHANGE_TESTED = 64;
    // The recurrence, rows k1..k2; false at the first dependent row (its word becomes 1).
    bool compute_gs_classic(long k1, long k2);
    // Modified Gram-Schmidt through lq_reduced (mask 22): 0, or the first row it stopped at;
    // fatal with fail.
    long compute_gs_mod(long k1, long k2, bool fail);
    // Householder through lq_full (mask 14), gsVectors scaled to length sqrt(gsNorm): 0, or the
    // first row it stopped at (dimN + 1 for surplus rows); fatal with fail.
    long compute_gs_lq(long k1, long k2, bool fail);

    // Reduction (reduction.cpp). lll reduces rows k..m (0: dimB), blending dependent rows towards
    // n (0: dimB); returns the smaller of the final row and k. Every row it touches is offered
    // to the candidate gate while offerCandidates is set. Exchanges are tested against
    // Constant<R2>::DELTA, just below one; with the parameter deep by deep insertion at positions
    // 2..k-1 (row 1 is never an insertion target). lllStepBudget exchange tests per call, after
    // which the call only size-reduces; the budget doubles when more than a tenth of the row
    // visits went untested and shrinks by one when none did. Dependent rows are kept, moved
    // behind the independent rows of 1..n, and the loop stops at the first of them. While a call
    // runs, the flag allowPostCommaLoss of rowState ("keep dependency marks") spares a word 1 at
    // rows >= 2 from invalidation; every way out of lll clears it. In long double a changed entry
    // of B (and of the top of TT under consistency) beyond 10^18 throws FatalPrecisionException.
    long lll(long k, long m, long n);
    bool sizeReduce(long k, long n, bool& careful);
    bool sizeReduceGenuine(long k, bool careful);
    long lovasz_reduce(long k);
    long deep_reduce(long k);
    long dependencyHandler(long k, long n);
    void swapVectors(long i, long j, bool keepState);
    // Row i of B += q times row j (i != j), repeated on the top of TT under consistency; the state
    // words from row i on are cleared. In long double an entry beyond 10^18 throws
    // FatalPrecisionException. The elementary step of a search that inserts a vector into B.
    void addRowMultiple(long i, long j, const R1& q);
    void sortEuklid(long m);
    // Changes the scale factor of column i, then clears the state word of every row.
    void scale(long i, const R1& s);

    // Transformation stack (transformation.cpp). With the parameter consistency every row
    // operation of the reduction is repeated on the top matrix of TT; a checkpoint replaces B by
    // the exact product of the stack and B_save, or rolls back to B_save.
    // The checkpoint: PrecisionException "base matrix overflow", "unimodular error" (with
    // consistency) or "transformation overflow"; a rollback (B back to B_save, consistency switched
    // on until the next successful checkpoint) when the transformation can't be rebuilt or isn't
    // unimodular without consistency. aardal: the stack may hold several matrices and grows
    // (before its top overflows) instead of being folded into B_save. keepLatFile: no snapshot.
    void checkFixByTransformation(bool aardal, bool keepLatFile);
    // The whole stack times M, the first matrix first, each next one on the left; an entry beyond
    // the trusted range throws PrecisionException("Overflow when applying transformation").
    Matrix<R1> applyTransformationTo(const Matrix<R1>& M) const;
    // push: a new identity on top, unless the top is one already (fatal beyond 20 matrices);
    // otherwise the stack becomes one identity.
    void resetTransformationStack(bool push);

    // Containment (containment.cpp). True when the untrimmed v is a lattice vector; proved is
    // then the exact lattice vector proved (v itself, or the lattice vector it is close to). A
    // precision overflow retries on an exact copy of the lattice.
    bool containsVector(const Vector<R1>& v, Vector<R1>& proved);

    // Deviations and collection sets (deviation.cpp). Untrimmed coordinates unless trimmed.
    // (coordinate, deviation) of every coordinate that deviates from its bounds, the largest first.
    Array<RightOrderPair<long, R1>> computeDeviations(const Vector<R1>& v, bool skipTargetRow,
                                                      bool trimmed) const;
    HeuristicDeviation<R1> computeHeuristicDeviation(const Vector<R1>& v, bool trimmed) const;
    // The target sum of the program's x of v.
    R1 computeTargetValue(const Vector<R1>& v) const;
    // Into homogenous or inhomogenous (null: goodVectors, bestVectors) by the type of the
    // deviation; a vector longer than maxUnscaledLatVecSquaredEuclideanNorm is dropped. The set's
    // insert answers (false: nothing stored).
    bool collect(const Vector<R1>& v, CollectionSet* homogenous, CollectionSet* inhomogenous);
    bool collect(const TimeVector<R1>& v, CollectionSet* homogenous, CollectionSet* inhomogenous);
    bool collect(const HeuristicVector<R1, R2>& h, CollectionSet* homogenous, CollectionSet* inhomogenous);

    // The candidate gate (candidate_check.cpp). Result bits of checkSolution: 0 empty, outside
    // the bounds; 1 alone: not in the lattice; otherwise 2 within the bounds, 4 acceptable (target
    // norm at most the best, or no targets), 8 foundSolution ran, 16 a bound changed, 32 the
    // number of solutions asked for (parameter sol) is reached.
    static constexpr long CHECK_NOT_IN_LATTICE = 1;
    static constexpr long CHECK_IN_BOUNDS = 2;
    static constexpr long CHECK_ACCEPTABLE = 4;
    static constexpr long CHECK_FOUND = 8;
    static constexpr long CHECK_BOUND_CHANGED = 16;
    static constexpr long CHECK_SOLUTIONS_REACHED = 32;
    // v a row of B (trimmed) or untrimmed; time the seconds of its discovery (0: now).
    long checkSolution(const Vector<R1>& v, bool trimmed, long time, bool duringBackup);
    long checkTarget(const Vector<R1>& v, TargetVector<R1>& t, long time, bool duringBackup);
    bool checkInhomogenous(const Vector<R1>& v, long time);
    bool adaptHalfFreeXBounds(const Vector<R1>& x);
    bool fulfillsSolutionNorms(const TargetVector<R1>& t) const;
    void foundSolution(const TargetVector<R1>& t, long time);
    // writeSolFile(false), then checkFixByTransformation(false, false).
    void persistConsistent();

    // Backups (backup.cpp): the found vectors (bestVector, bestTarget, solutions), the program's
    // records and the collection sets taken out in a form that survives a change of the lattice,
    // and put back through the candidate gate (or collect, for the sets).
    void backupAndResetBestSieveVectors(BackupType type, Array<Star<R1>>& stars,
                                        Array<TimeVector<R1>>& vectors, CollectionSet& set1,
                                        CollectionSet& set2, long shift);
    void restoreBestSieveBackups(Array<Star<R1>>& stars, Array<TimeVector<R1>>& vectors, CollectionSet& set1,
                                 CollectionSet& set2, BackupType type);
    void backupCollectionSet(BackupType type, const CollectionSet& from, CollectionSet& into, long shift);
    void restoreCollectionSet(Matrix<R1>& basis, CollectionSet& from, CollectionSet& into, BackupType type);

    // Restart (restart.cpp). Writes the files, then regenerates the lattice and throws
    // RestartException("Lattice was regenerated"), or ends the run (terminate, or the iteration
    // count reached): SIGTERM to the process, or "stopped" in variable 2 for a hosted run.
    void restartOrTerminate(bool terminate);
    // A new lattice from the unprepared program (with its tightened bounds), the found vectors
    // carried over in program variables.
    void regenerate();

    // Aardal reduction (aardal.cpp), for programs with equations. aardalReduce reduces a copy of
    // the lattice of prepareLattice(true) with the equation columns weighted by a factor N (ten
    // times the larger of the equation and variable counts, times ten per round) until exactly as
    // many rows as equations keep a non-zero part there; the others, moved to the front, span the
    // vectors that meet the equations. Copies the copy back and returns its transformation stack.
    // A PrecisionException of the copy leaves this lattice untouched.
    Array<Matrix<R1>> aardalReduce();
    // Removes the first n columns from the whole lattice state; n = -1: as many columns as the
    // program has equations, and as many rows from the end (the rows outside the kernel), with a
    // fresh checkpoint. The found vectors lose the same leading entries and are checked again.
    void lshiftLattice(long n);
    // A lattice vector whose marker is the smallest non-zero one the rows reach (the Euclidean
    // algorithm on the last column over whole untrimmed rows, each improving row offered to the
    // gate); empty when no row has a marker. The program has an integer solution of its equations
    // only if that marker is the inhomogenous constant.
    Vector<R1> extractCurrentInhomogenousVector();
    // |v[dimN]| equal (within 10^-9) to |scaledInhomogenousConstant| if trimmed, else to
    // |inhomogenousConstant|.
    bool inhomogenousComponentIsMinimal(const Vector<R1>& v, bool trimmed) const;

    // Preparation of the lattice's own program (embedding.cpp): the slack stage on unprepared
    // (slackStage(applyKnownBounds, verb == 2)), then the program becomes a copy of unprepared and
    // prepareVorm(verb == 2) runs on it. The slack stage is skipped when neither argument is set,
    // unprepared is slackified already and the own program has no target bounds (tu 0) or its
    // target coefficients (atu) are set: there is nothing for it to do then. An unprepared program
    // that was never slackified always goes through it, as prepareVorm takes slackified programs
    // only. Stops and PrecisionException as for the two stages; prepareVorm works on the copy, so
    // unprepared is left as the slack stage made it.
    void prepareVormByUnprepared(bool applyKnownBounds, bool forceSlackStage);

    // Embedding (embedding.cpp). The columns of B: the target sum (when unprepared.tu is 1), one
    // per inequation, one per variable, and the inhomogenous marker last; row 1 is the
    // inhomogenous row, row j + 1 belongs to variable j. Each bounded column is scaled so that a
    // vector that keeps the bounds of its quantity has the component in [-R, R]: for x in the box
    // B[1] + sum_j x[j] B[j + 1] has 2 c[s + j] x[j] - R in the column of variable j, and
    // c (2 a x - lu - ru) in that of inequation a.
    // Builds the lattice of the prepared program and returns true. With equations the basis of
    // their integer solutions comes first (aardalReduce on the lattice of prepareLattice(true));
    // a system without an integer solution is fatal ("The equation system has no integer
    // solution :("); the rows of prepareLattice(false) are then transformed into that basis, so
    // that every basis vector meets the equations and dimB is the variable count + 1 - the
    // equation count. The found vectors cross the change as coordinates.
    bool opt2lat();
    // Fills R, B (untrimmed, trimming reset), c, l, r, lTrimmed, rTrimmed, boundsSymmetric,
    // checkVectorsState (1 with aardal, 2 without) and maxUnscaledLatVecSquaredEuclideanNorm for
    // one stage; B_save takes B, TT one identity, the row states and Gram-Schmidt data zero. With
    // aardal the leading columns are the equations (Ag x - bg, unscaled, bounds 0) instead of the
    // target and the inequations, and R covers the variable widths only. A zero inequation width
    // ("ineq bounds error2") or variable width ("sol bounds error") is fatal.
    void prepareLattice(bool aardal);
    // 3 max(l * l, r * r); +INF when a bound is infinite.
    void setMaxUnscaledLatVecSquaredEuclideanNorm();

    // Vector maps (vector_maps.cpp), between program vectors as the file states them (constants
    // included, decimals as decimals) and untrimmed lattice vectors. Both stop while
    // checkVectorsState is 0. In long double a value beyond the trusted range throws
    // PrecisionException.
    // The program's x of a lattice vector, sign-normalised (v and -v give the same x): the
    // variables of the prepared program come back from their columns, get their offsets, signs
    // and decimal places back, and with insertConstants the constant variables in their places;
    // keepSlacks keeps the slack variables behind the program's own. Returns 1 when the marker
    // has the size of inhomogenousConstant (then, in long double, the prepared coordinates are
    // snapped to the integers they must be; one that isn't close throws PrecisionException),
    // else -1; opt_vec is filled in both cases.
    short lat2opt(const Vector<R1>& lat_vec, Vector<R1>& opt_vec, bool insertConstants,
                  bool keepSlacks) const;
    // The lattice vector of the file's x (without slacks): slack values from the slack rows of
    // unprepared, then every column as the embedding defines it, the marker inhomogenousConstant;
    // trimmed if trim. A negative inequation slack (x outside the inequation) is kept as it is.
    void opt2lat(const Vector<R1>& opt_vec, Vector<R1>& lat_vec, bool trim) const;
    // v[dimN] has the sign of the constant (scaledInhomogenousConstant if trimmed, else
    // inhomogenousConstant); a zero v[dimN] has none.
    bool inhomogenousComponentHasRightSign(const Vector<R1>& v, bool trimmed) const;
    // Appends a Star to stars for bestTarget (when it isn't empty) and for each found solution,
    // with target values and norms from unprepared, then sorts stars and removes duplicates
    // (params compared while bench is above 0). A vector whose marker has the wrong size is fatal.
    void sol2star();

    // Solution file (sol_file.cpp).
    // Appends the records of solFile to stars; short records are completed by checkStar. With
    // stopAtFirst, returns at the first usable record without storing it. True if a record was
    // taken. A missing or empty file gives false and no message.
    bool readStarsFromSolFile(bool stopAtFirst);
    // Writes stars to solFile, one line each, while pendingSolutionWrite; an empty list removes
    // the file. The file is replaced whole or not at all; SIGINT and SIGTERM are held back until
    // it is complete, and end the run then.
    void writeSolFile(bool keepStars);

    // Lattice file (lat_file.cpp).
    // Writes the snapshot of the lattice to latFile while pendingSolutionWrite: the untrimmed B,
    // l, r, c, R, lx and rx of unprepared, its tu and target bounds, and the seconds since
    // statistics.startTime, each on its own line, numbers in 17 digits. The file is replaced
    // whole; SIGINT and SIGTERM are held back as for the .sol file. An empty latFile is warned
    // about and nothing is written; a file that can't be written is left as it is, silently.
    void writeLatFile() const;
    // The text writeLatFile writes, whatever pendingSolutionWrite and latFile say.
    std::string latFileText() const;

    // The closing figures of a search: the sums of bestTarget when the program has targets, the
    // count of found solutions unless benchmarking, and the times of the first three solutions.
    std::string solutionStats() const;

    // Called, when set, once the records are written and before the file replaces the old one:
    // a point inside the protected write, for tests of the signal handling.
    static inline void (*solWriteProbe)() = nullptr;
    // The same inside the protected write of the .lat file.
    static inline void (*latWriteProbe)() = nullptr;

private:
    // Work state of the Gram-Schmidt recurrence and the reduction, never copied: after a copy it
    // is rebuilt on first use.
    // The R2 image of a row is its entries converted once, so that the inner products of the
    // recurrence convert nothing (when R1 is R2 the row of B serves as its own image). While the
    // entries of a row are integers below 2^53 in magnitude it also has an integer image, and an
    // inner product of two such rows is summed exactly in 128 bits and rounded once, which for
    // long double Gram-Schmidt data is never less accurate than the sum in column order.
    // gsImageState per row: 0 stale, 1 R2 image current, 2 the integer image current as well.
    // Images are refreshed lazily; a writer of B inside lll marks its row stale, and every call
    // from outside lll marks them all stale, since B may have changed behind it.
    Matrix<R2> gsImage;                // rows of B in R2, used only when R1 is not R2
    std::vector<long long> gsIntImage; // the integer images, row i from (i - 1) * dimN
    Array<short> gsImageState;         // dimB words
    Array<short> gsIntBits;            // bit length of the largest entry of an integer image
    Vector<R2> gsScratch;              // r of the recurrence, k - 1 entries
    long reductionDepth = 0;           // above 0 while a routine of the reduction runs
    // The last rows offered to the candidate gate, untrimmed; emptied by setDims, which every new
    // embedding (with new bounds to judge them by) and every reset runs.
    std::array<Vector<R1>, 8> recentOffers;
    size_t recentOfferNext = 0;

    // Held by every public routine that reads the row images: the outermost one marks them all
    // stale (B may have changed since the last routine), the inner ones trust them.
    class ReductionScope {
    public:
        explicit ReductionScope(Lattice& owner) : lattice(owner)
        {
            if (lattice.reductionDepth++ == 0 || !lattice.rowImagesFit()) lattice.invalidateRowImages();
        }
        ReductionScope(const ReductionScope&) = delete;
        ReductionScope& operator=(const ReductionScope&) = delete;
        ~ReductionScope() { --lattice.reductionDepth; }

    private:
        Lattice& lattice;
    };

    // Images follow dimB and dimN; all stale.
    void invalidateRowImages();
    // The images are sized for the present dimB and dimN (a lattice rebuilt or assigned with other
    // dimensions leaves them sized for the old ones until the next invalidation).
    bool rowImagesFit() const
    {
        return gsImageState.dimension() == dimB && gsIntImage.size() == static_cast<size_t>(dimB * dimN);
    }
    // The R2 image of row i, refreshed first if stale; entries from index 1.
    const R2* rowImage(long i);
    // <b_i, b_k> in R2: exact and rounded once on integer images (in 64 bits where the bit
    // lengths leave room for the sum, else in 128), else summed from zero in column order over
    // the R2 images.
    R2 rowProduct(long i, long k);
    // Row k of B (and its R2 image) written from its integer image.
    void storeIntegerRow(long k);
    // The recurrence for row k (mu row, rowNorm, gsNorm) without a verdict on dependency; rows
    // before k must be current. Returns gsNorm[k].
    R2 computeGsRow(long k);
    // rowState[k] gets bits (a word meaning "dependent" is replaced, not or-ed into).
    void addRowState(long k, short bits);
    // Clears the state words of rows t..dimB, sparing a word 1 at rows >= 2 while
    // keepDependencyMarks is set, and empties the current solve cache.
    void invalidateRowsFrom(long t);
    // One pass of size reduction of row k over j = k-1..1, its coefficients updated in place;
    // true if the row changed. maxQuotient gets the largest |q| applied.
    bool sizeReducePass(long k, bool careful, R2& maxQuotient);
    // sizeReduce without its recursion: 0 when the reduction can't go on, else the row to go on
    // at (k, or the row a dependent row was moved to).
    long sizeReduceStep(long k, long n, bool& careful);
    // Offers row k to the candidate gate while offerCandidates is set. A checkpoint of the gate
    // that replaced B leaves the rows before k recomputed, as the reduction stands on them.
    void offerRow(long k);
    // The untrimmed lattice vector u within the bounds the gate tests (the target sum's column
    // excepted once the target sum has bounds).
    bool withinBounds(const Vector<R1>& u) const;
    // The gate's judgement of a proved vector within the bounds: targets or half-free bounds, the
    // solution, the write, the restart.
    long judgeInBounds(const Vector<R1>& u, long time, bool duringBackup);
    // checkInhomogenous with the deviation of v when it is known already (null: computed).
    bool checkInhomogenous(const Vector<R1>& v, long time, const HeuristicDeviation<R1>* known);
};

} // namespace latopt

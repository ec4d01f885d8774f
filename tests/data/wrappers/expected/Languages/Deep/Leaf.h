//Languages/Deep/Leaf.h : generated file

#pragma once

#include <QEL/InstanceWrapper.h>
#include "../../Core/BaseDotElementMinusKind.h"
#include "../../Extension_Point.h"
#include "../../Core/Named_Item.h"
#include "../../Core/ORLO_class.h"

namespace WRAPPER_NPS
{
	//---------------------------------------------------------------
	/// Wrapper over type "Leaf"
	/// Description : The end of the chain
	//---------------------------------------------------------------
	class Leaf : public QEL::TypeWrapper
	{
	public:

		//---------------------------------------------------------------
		/// Wrapper over property "Leaf.counts"
		/// Description : 
		/// Type : IntegerList
		/// Transient : no
		//---------------------------------------------------------------
		class counts : public QEL::IntegerListPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Leaf DeclaringCategory;

			/// @name Life cycle
			/// @{

			counts(const QEL::InstanceWrapper & iw) : QEL::IntegerListPropertyWrapper(iw) {}
			virtual ~counts() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Leaf.counts"; return name; }

			/// @return property id
			static int getId() { return 2005; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Leaf.dates"
		/// Description : 
		/// Type : DateTimeList
		/// Transient : no
		//---------------------------------------------------------------
		class dates : public QEL::DateTimeListPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Leaf DeclaringCategory;

			/// @name Life cycle
			/// @{

			dates(const QEL::InstanceWrapper & iw) : QEL::DateTimeListPropertyWrapper(iw) {}
			virtual ~dates() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Leaf.dates"; return name; }

			/// @return property id
			static int getId() { return 2003; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Leaf.marks"
		/// Description : 
		/// Type : BookmarkList
		/// Transient : no
		//---------------------------------------------------------------
		class marks : public QEL::BookmarkListPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Leaf DeclaringCategory;

			/// @name Life cycle
			/// @{

			marks(const QEL::InstanceWrapper & iw) : QEL::BookmarkListPropertyWrapper(iw) {}
			virtual ~marks() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Leaf.marks"; return name; }

			/// @return property id
			static int getId() { return 2004; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Leaf.namespace"
		/// Description : 
		/// Type : Reference
		/// Transient : no
		//---------------------------------------------------------------
		class nsp : public QEL::ReferencePropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Leaf DeclaringCategory;

			/// @name Life cycle
			/// @{

			nsp(const QEL::InstanceWrapper & iw) : QEL::ReferencePropertyWrapper(iw) {}
			virtual ~nsp() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Leaf.namespace"; return name; }

			/// @return property id
			static int getId() { return 2008; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Leaf.note"
		/// Description : First line
		///second line
		/// Type : String
		/// Transient : no
		/// @deprecated
		//---------------------------------------------------------------
		class __declspec(deprecated) note : public QEL::StringPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Leaf DeclaringCategory;

			/// @name Life cycle
			/// @{

			note(const QEL::InstanceWrapper & iw) : QEL::StringPropertyWrapper(iw) {}
			virtual ~note() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Leaf.note"; return name; }

			/// @return property id
			static int getId() { return 2007; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Leaf.refs"
		/// Description : 
		/// Type : ReferenceList
		/// Transient : no
		//---------------------------------------------------------------
		class refs : public QEL::ReferenceListPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Leaf DeclaringCategory;

			/// @name Life cycle
			/// @{

			refs(const QEL::InstanceWrapper & iw) : QEL::ReferenceListPropertyWrapper(iw) {}
			virtual ~refs() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Leaf.refs"; return name; }

			/// @return property id
			static int getId() { return 2002; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Leaf.short-label.v2 x"
		/// Description : 
		/// Type : StringList
		/// Transient : no
		//---------------------------------------------------------------
		class shortMinuslabelDotv2_x : public QEL::StringListPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Leaf DeclaringCategory;

			/// @name Life cycle
			/// @{

			shortMinuslabelDotv2_x(const QEL::InstanceWrapper & iw) : QEL::StringListPropertyWrapper(iw) {}
			virtual ~shortMinuslabelDotv2_x() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Leaf.short-label.v2 x"; return name; }

			/// @return property id
			static int getId() { return 2006; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		/// @name Life cycle
		/// @{

		/// @param		inst		instance to be wrapped -OR- its id
		/// @param		check_type	whether instance type must be validated against wrapper category
		/// @pre		given instance is valid
		/// @note		creating a wrapper does not create an instance
		Leaf(const QEL::IInstance * inst,bool check_type = true)
			: QEL::TypeWrapper(inst,check_type ? getCategory() : NULL)
			, BaseDotElementMinusKind(getCInstance(),false)
			, Extension_Point(getCInstance(),false)
			, Named_Item(getCInstance(),false)
			, ORLO_class(getCInstance(),false)
			, counts(getCInstance())
			, dates(getCInstance())
			, marks(getCInstance())
			, nsp(getCInstance())
			, note(getCInstance())
			, refs(getCInstance())
			, shortMinuslabelDotv2_x(getCInstance())
		{}
		Leaf(QEL::IInstance * inst,bool check_type = true)
			: QEL::TypeWrapper(inst,check_type ? getCategory() : NULL)
			, BaseDotElementMinusKind(getInstance(),false)
			, Extension_Point(getInstance(),false)
			, Named_Item(getInstance(),false)
			, ORLO_class(getInstance(),false)
			, counts(getInstance())
			, dates(getInstance())
			, marks(getInstance())
			, nsp(getInstance())
			, note(getInstance())
			, refs(getInstance())
			, shortMinuslabelDotv2_x(getInstance())
		{}
		Leaf(const QEL::SId & inst,bool check_type = true)
			: QEL::TypeWrapper(inst,check_type ? getCategory() : NULL)
			, BaseDotElementMinusKind(getInstance(),false)
			, Extension_Point(getInstance(),false)
			, Named_Item(getInstance(),false)
			, ORLO_class(getInstance(),false)
			, counts(getInstance())
			, dates(getInstance())
			, marks(getInstance())
			, nsp(getInstance())
			, note(getInstance())
			, refs(getInstance())
			, shortMinuslabelDotv2_x(getInstance())
		{}
		/// @note deleting a wrapper does not delete its wrapped instance
		virtual ~Leaf() {} 
		/// @}

		/// @name Static methods
		/// @{

		/// @return category or type name
		static const ORLO::String & getName() { static ORLO::String name = "Leaf"; return name; }

		/// @return category or type id
		static int getId() { return 2001; }

		/// @return fetched type
		static const QEL::IMetaType * getType()
		{
			static const QEL::IMetaType * typ = NULL;
			static const QEL::IMetaModel * mm = NULL;
			static std::size_t mmVersion = 0;
			if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
			{
				mm = &getMetaModel(); 
				mmVersion = mm->GetVersion(); 
				typ = NULL; 
			}
			if (!typ) typ = mm->GetMetaType(getName());
			return typ;
		}

		/// @return fetched category
		static const QEL::ICategory * getCategory() { return getType(); }

		/// @return a fresh instance of current wrapper type
		static QEL::IInstance * newInstance() { return newInstanceInternal(getType()); }

		/// @name Recursively inherited category compounds
		/// @{
		BaseDotElementMinusKind BaseDotElementMinusKind;
		Extension_Point Extension_Point;
		Named_Item Named_Item;
		ORLO_class ORLO_class;
		/// @}

		/// @name Local property compounds
		/// @{
		counts counts;
		dates dates;
		marks marks;
		nsp nsp;
		note note;
		refs refs;
		shortMinuslabelDotv2_x shortMinuslabelDotv2_x;
		/// @}

		private : virtual const QEL::ICategory * getCategoryInternal() const { return getCategory(); }

	};
};

//EOF

